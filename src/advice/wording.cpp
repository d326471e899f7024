#include "advice/wording.h"

#include "wrenlib/format.h"

namespace vnxtest {

std::wstring Counted(std::uint64_t count, std::wstring_view noun) {
    if (count != 1 && noun.ends_with(L'y')) {
        noun.remove_suffix(1);
        return Sprintf(L"%u %sies", count, std::wstring(noun));
    }
    return Sprintf(count == 1 ? L"%u %s" : L"%u %ss", count, std::wstring(noun));
}

std::wstring NameOfGuest(const Observations& observations, const InterfaceObservations& guest) {
    return observations.interfaces.size() > 1 ? Sprintf(L"the guest's interface %d", guest.number)
                                              : std::wstring(L"the guest");
}

std::wstring Enumerated(const std::vector<Ipv4Address>& addresses) {
    std::wstring text;
    for (std::size_t index = 0; index < addresses.size(); ++index) {
        if (index != 0) {
            text += index + 1 == addresses.size() ? L" and " : L", ";
        }
        text += FormatIPAddr(addresses[index]);
    }
    return text;
}

std::vector<std::wstring> TextsOf(const std::vector<Ipv4Address>& addresses) {
    std::vector<std::wstring> texts;
    texts.reserve(addresses.size());
    for (const Ipv4Address address : addresses) {
        texts.push_back(FormatIPAddr(address));
    }
    return texts;
}

} // namespace vnxtest
