#include "platform/inet_text.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#endif

#include <string_view>

#include "wrenlib/text.h"

namespace vnxtest {

bool StringToIPAddr(const wchar_t* text, Ipv4Address& address) {
    if (text == nullptr || *text == L'\0') {
        return false;
    }
    constexpr Ipv4Address kNone{255, 255, 255, 255};
    address = Ipv4Address::FromMemory(inet_addr(ToNarrow(text).c_str()));
    // The address of all ones and the failure have the same value.
    return address != kNone || std::wstring_view(text) == L"255.255.255.255";
}

} // namespace vnxtest
