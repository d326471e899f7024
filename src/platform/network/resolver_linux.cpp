#include <memory>

#include <netdb.h>
#include <netinet/in.h>

#include "platform/network/resolver.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

bool ResolveIpv4Name(std::wstring_view name, Ipv4Address& address, std::wstring& errorText) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(ToNarrow(name).c_str(), nullptr, &hints, &found);
    if (result != 0) {
        errorText = MakeVisible(ToWide(gai_strerror(result)));
        return false;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    address = Ipv4Address::FromMemory(reinterpret_cast<const sockaddr_in*>(list->ai_addr)->sin_addr.s_addr);
    return true;
}

} // namespace vnxtest
