// The help of the terminal program, of all commands or of one.
#pragma once

#include <optional>
#include <string>

#include "cli/options/grammar.h"

namespace vnxtest {

// UTF-8, wrapped to the width of standard output. Hides options of the grammar that do not concern `command`.
std::string HelpText(Grammar& grammar, std::optional<Command> command);

// Where values come from that the command line does not give.
std::string AboutValues();

} // namespace vnxtest
