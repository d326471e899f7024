// The live filter of a MAC address entry: six pairs of hex digits, "-" or ":" between them.
#pragma once

#include <string>
#include <string_view>

namespace vnxtest {

// What to do with a MAC entry after its text changed.
struct MacEntryResult {
    bool accepted = false; // false: beep, and put `value` back into the entry
    bool changed = false;  // the entry's text must be set to `value` and the caret to position 17
    std::wstring value;    // the accepted text; after a rejection the last accepted one
};

// Checks `text` (the entry's present text) against `lastAccepted`. An empty text is accepted. A hex digit
// typed where a separator belongs gets the separator before it: the one already used in the text, else "-".
MacEntryResult FilterMACAddressInput(std::wstring_view text, std::wstring_view lastAccepted);

} // namespace vnxtest
