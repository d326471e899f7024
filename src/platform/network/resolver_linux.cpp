#include <cerrno>
#include <memory>

#include <netdb.h>
#include <netinet/in.h>

#include "platform/network/resolver.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

Result<Ipv4Address> ResolveIpv4Name(std::wstring_view name) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(ToNarrow(name).c_str(), nullptr, &hints, &found);
    if (result != 0) {
        // Its codes are its own; errno belongs to one of them.
        const int errnoValue = result == EAI_SYSTEM ? errno : 0;
        return NoValue(Failure{L"getaddrinfo", errnoValue, static_cast<std::uint32_t>(errnoValue),
                               MakeVisible(ToWide(gai_strerror(result)))});
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    return Ipv4Address::FromMemory(reinterpret_cast<const sockaddr_in*>(list->ai_addr)->sin_addr.s_addr);
}

} // namespace vnxtest
