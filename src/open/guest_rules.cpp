#include "open/guest_rules.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "packets/host_address.h"

namespace vnxtest {
namespace {

constexpr std::string_view kDevicePrefix = "vnxtun";
constexpr std::uint32_t kLeastMtu = 46, kLargestMtu = 65521;

bool Contains(const auto& list, const auto& one) {
    return std::ranges::find(list, one) != list.end();
}

// The name without the zeroes behind it; empty if it is not one.
std::string_view TextOf(const AdapterName& name) {
    const std::string_view all(name.data(), name.size());
    const std::string_view text = all.substr(0, all.find_last_not_of('\0') + 1);
    return text.size() < all.size() && text.find('\0') == text.npos ? text : std::string_view();
}

} // namespace

std::optional<OpenRequest> ParseOpenRequest(const void* bytes, std::size_t size) {
    OpenRequest asked;
    if (size != sizeof asked) {
        return std::nullopt;
    }
    std::memcpy(&asked, bytes, sizeof asked);
    const bool known = asked.kind >= OpenKind::GuestSocket && asked.kind <= OpenKind::TapDevice;
    bool fits = known && !TextOf(asked.adapter).empty();
    OpenRequest whole{.kind = asked.kind, .adapter = asked.adapter}; // of `asked` what its kind has
    whole.guestMac = asked.HasMac() ? asked.guestMac : whole.guestMac;
    whole.guestIp = asked.IsQuestion() ? whole.guestIp : asked.guestIp;
    if (asked.IsDevice()) {
        whole.hostEnd = asked.hostEnd;
        whole.mtu = asked.mtu;
        whole.queueLength = asked.queueLength;
        whole.device = asked.device;
        const std::string_view name = TextOf(asked.device);
        fits = fits && name.starts_with(kDevicePrefix) && name.size() > kDevicePrefix.size() &&
               name.find_first_not_of("0123456789", kDevicePrefix.size()) == name.npos &&
               asked.mtu >= kLeastMtu && asked.mtu <= kLargestMtu && asked.queueLength >= 1 &&
               asked.queueLength <= kLongestQueue;
    }
    return fits && asked == whole ? std::optional(asked) : std::nullopt;
}

Refusal JudgeMac(MacAddress mac, const HostFacts& host) {
    if (mac.IsZero() || mac.IsGroup()) {
        return Refusal::MacUnusable;
    }
    return Contains(host.macs, mac) ? Refusal::MacOfHost : Refusal::None;
}

Refusal JudgeIp(Ipv4Address ip, const HostFacts& host) {
    if (!IsUnicast(ip) || IsReserved(ip)) {
        return Refusal::IpUnusable;
    }
    const auto isWithin = [ip](const auto& subnet) { return subnet.Has(ip); };
    if (Contains(host.addresses, ip) || std::ranges::any_of(host.local, isWithin)) {
        return Refusal::IpOfHost;
    }
    if (Contains(host.gateways, ip)) {
        return Refusal::IpOfGateway;
    }
    const auto isNobodys = [ip](const auto& subnet) {
        return subnet.Has(ip) && (IsSubnetNumber(ip, subnet.mask) || IsSubnetBroadcast(ip, subnet.mask));
    };
    return std::ranges::any_of(host.adapter, isNobodys) ? Refusal::IpUnusable : Refusal::None;
}

Refusal JudgeRoute(Ipv4Address ip, Ipv4Address hostEnd, const HostFacts& host) {
    const auto own = std::ranges::find(host.adapter, hostEnd, &HostFacts::Subnet::address);
    if (own == host.adapter.end()) {
        return Refusal::NotTheAdaptersAddress;
    }
    return own->Has(ip) ? Refusal::None : Refusal::IpOutsideSubnet;
}

Refusal JudgeRequest(const OpenRequest& request, const HostFacts& host) {
    const Ipv4Address ip(request.guestIp);
    const bool device = request.IsDevice(), question = request.IsQuestion();
    const Refusal ofMac = request.HasMac() ? JudgeMac(MacAddress(request.guestMac), host) : Refusal::None;
    const Refusal ofIp = question ? Refusal::None : JudgeIp(ip, host);
    const Refusal ofRoute = device ? JudgeRoute(ip, Ipv4Address(request.hostEnd), host) : Refusal::None;
    return ofMac != Refusal::None ? ofMac : ofIp != Refusal::None ? ofIp : ofRoute;
}

} // namespace vnxtest
