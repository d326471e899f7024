// The filter of a MAC entry, as a user types, deletes and pastes: the entry never holds anything that
// cannot become a MAC address.
#include <string>

#include "fuzz_input.h"
#include "wrenlib/address.h"
#include "wrenlib/mac_entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vnxtest;
    std::wstring entry;
    for (std::size_t at = 0; at < size; ++at) {
        std::wstring text = entry;
        const std::uint8_t key = data[at];
        if (key >= 0x80) { // typed or deleted in the middle
            const std::size_t place = (key & 0x7F) % (text.size() + 1);
            if (at + 1 < size) {
                text.insert(place, 1, static_cast<wchar_t>(data[++at]));
            } else {
                text.erase(place, 1);
            }
        } else if (key == '\b') {
            text.resize(text.empty() ? 0 : text.size() - 1);
        } else {
            text += static_cast<wchar_t>(key);
        }
        const MacEntryResult result = FilterMACAddressInput(text, entry);
        Claim(result.accepted || result.value == entry, "a rejected text leaves the last accepted one");
        Claim(result.value.size() <= 17, "no longer than a MAC address");
        const MacEntryResult again = FilterMACAddressInput(result.value, entry);
        Claim(again.accepted && again.value == result.value, "what is accepted stays accepted");
        const bool colons = result.value.find(L':') != std::wstring::npos;
        std::wstring whole = colons ? L"00:00:00:00:00:00" : L"00-00-00-00-00-00";
        whole.replace(0, result.value.size(), result.value);
        Claim(ParseMACAddress(whole).has_value(), "it can become a MAC address");
        entry = result.value;
    }
    return 0;
}
