#include "open/guest_rules.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace vnxtest {
namespace {

constexpr std::string_view kDevicePrefix = "vnxtun";
constexpr std::uint32_t kLeastMtu = 46, kLargestMtu = 65521;

bool Contains(const auto& list, const auto& one) {
    return std::find(list.begin(), list.end(), one) != list.end();
}

bool IsZero(const auto& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](auto byte) { return byte == 0; });
}

bool IsName(const AdapterName& name) {
    const auto end = std::find(name.begin(), name.end(), '\0');
    return end != name.begin() && end != name.end() &&
           std::all_of(end, name.end(), [](char c) { return c == 0; });
}

bool IsDeviceName(const AdapterName& name) {
    if (!IsName(name) || !std::string_view(name.data()).starts_with(kDevicePrefix)) {
        return false;
    }
    const std::string_view number = std::string_view(name.data()).substr(kDevicePrefix.size());
    return !number.empty() &&
           std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// This network's, the loopback's, groups' and reserved addresses (RFC 6890).
bool IsNoHost(Ipv4Address ip) {
    const std::uint8_t first = ip.Bytes()[0];
    return first == 0 || first == 127 || first >= 224;
}

} // namespace

std::optional<OpenRequest> ParseOpenRequest(const void* bytes, std::size_t size) {
    OpenRequest request;
    if (size != sizeof request) {
        return std::nullopt;
    }
    std::memcpy(&request, bytes, sizeof request);
    const bool known = IsDevice(request.kind) || IsQuestion(request.kind) || HasMac(request.kind);
    if (request.magic != kOpenMagic || request.version != kOpenVersion || !known || request.reserved != 0 ||
        !IsZero(request.alsoReserved) || !IsName(request.adapter) ||
        (!HasMac(request.kind) && !IsZero(request.guestMac)) ||
        (IsQuestion(request.kind) && !IsZero(request.guestIp))) {
        return std::nullopt;
    }
    const bool deviceFits = IsDevice(request.kind)
                                ? IsDeviceName(request.device) && request.mtu >= kLeastMtu &&
                                      request.mtu <= kLargestMtu && request.queueLength >= 1 &&
                                      request.queueLength <= kLongestQueue
                                : IsZero(request.device) && IsZero(request.hostEnd) && request.mtu == 0 &&
                                      request.queueLength == 0;
    return deviceFits ? std::optional(request) : std::nullopt;
}

Refusal JudgeMac(MacAddress mac, const HostFacts& host) {
    if (mac.IsZero() || mac.IsGroup()) {
        return Refusal::MacUnusable;
    }
    return Contains(host.macs, mac) ? Refusal::MacOfHost : Refusal::None;
}

Refusal JudgeIp(Ipv4Address ip, const HostFacts& host) {
    if (IsNoHost(ip)) {
        return Refusal::IpUnusable;
    }
    if (Contains(host.addresses, ip)) {
        return Refusal::IpOfHost;
    }
    return Contains(host.gateways, ip) ? Refusal::IpOfGateway : Refusal::None;
}

Refusal JudgeRoute(Ipv4Address ip, Ipv4Address hostEnd, const HostFacts& host) {
    const auto own = std::find_if(host.adapter.begin(), host.adapter.end(),
                                  [&](const HostFacts::Subnet& subnet) { return subnet.address == hostEnd; });
    if (own == host.adapter.end()) {
        return Refusal::NotTheAdaptersAddress;
    }
    if ((ip & own->mask) != (hostEnd & own->mask)) {
        return Refusal::IpOutsideSubnet;
    }
    // Where there is room for them, the lowest address is the subnet's and the highest everybody's.
    const Ipv4Address hostPart = ip & ~own->mask;
    const bool taken = (~own->mask).Host() > 1 && (hostPart.IsZero() || hostPart == ~own->mask);
    return taken ? Refusal::IpUnusable : Refusal::None;
}

Refusal JudgeRequest(const OpenRequest& request, const HostFacts& host) {
    if (IsQuestion(request.kind)) {
        return Refusal::None;
    }
    Refusal refusal = HasMac(request.kind) ? JudgeMac(MacAddress(request.guestMac), host) : Refusal::None;
    if (refusal == Refusal::None) {
        refusal = JudgeIp(Ipv4Address(request.guestIp), host);
    }
    if (refusal == Refusal::None && IsDevice(request.kind)) {
        refusal = JudgeRoute(Ipv4Address(request.guestIp), Ipv4Address(request.hostEnd), host);
    }
    return refusal;
}

} // namespace vnxtest
