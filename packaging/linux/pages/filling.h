// What the manual pages say of the programs, as the programs' own sources have it: a text for each "@NAME@"
// of their templates.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "cli/options/grammar.h"

namespace vnxtest {

// By name, without the signs around it.
using Fillings = std::map<std::string, std::string, std::less<>>;

// For manual pages: commands and options, in the macros of man(7).
void AddManual(const Grammar& grammar, Fillings& fillings);
// For vnxtest.conf(5): the values of the profile.
void AddProfile(Fillings& fillings);
// For the completions of `program` by bash, zsh and fish.
void AddCompletions(const Grammar& grammar, const std::string& program, Fillings& fillings);

// Plain text as input for man(7): what would be taken for a request or an escape is masked, each sentence
// begins a line, and lines are short. Ends with a line end.
std::string ManualText(std::string_view text);
// A word in bold or italics, with dashes that can be copied.
std::string ManualWord(std::string_view word);

} // namespace vnxtest
