// Which control shows which text and which topic: the registrations of every window of the program.
#pragma once

#include "helpui/help_keys.h"

namespace vnxtest {

// Registers the keys of one window (kTemplateFrame or kDialog...) with their texts and topics, and maps
// its standard buttons and the parts of its frame onto the standard texts. A number that is no window of
// this program gets the standard registrations alone.
void RegisterWindowHelp(int templateId, HelpMaps& maps);

} // namespace vnxtest
