#include <winsock2.h>

#include <memory>
#include <ws2tcpip.h>

#include "platform/network/resolver.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {
// Winsock is started for the process at the first look-up and stays.
bool StartSockets() {
    static const bool started = [] {
        WSADATA data{};
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}
} // namespace

Result<Ipv4Address> ResolveIpv4Name(std::wstring_view name) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    const int result =
        StartSockets() ? getaddrinfo(ToNarrow(name).c_str(), nullptr, &hints, &found) : WSANOTINITIALISED;
    if (result != 0) {
        return FailedCall(L"getaddrinfo", static_cast<std::uint32_t>(result));
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    return Ipv4Address::FromMemory(reinterpret_cast<const sockaddr_in*>(list->ai_addr)->sin_addr.s_addr);
}

} // namespace vnxtest
