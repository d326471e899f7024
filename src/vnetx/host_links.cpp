#include "vnetx/host_links.h"

#include <algorithm>
#include <cerrno>

#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// The first adapter that `matches`, those that are up before the others.
template <typename Matches>
std::optional<HostLink> Find(Matches matches) {
    errno = 0;
    std::vector<HostLink> links = ListHostLinks();
    if (links.empty() && errno != 0) {
        return std::nullopt; // the system does not tell
    }
    for (const bool up : {true, false}) {
        const auto found = std::find_if(links.begin(), links.end(),
                                        [&](const HostLink& link) { return link.up == up && matches(link); });
        if (found != links.end()) {
            return std::move(*found);
        }
    }
    errno = ENODEV;
    return std::nullopt;
}

} // namespace

std::optional<HostLink> FindHostLink(Ipv4Address address) {
    return Find([address](const HostLink& link) {
        return std::any_of(link.addresses.begin(), link.addresses.end(),
                           [address](const HostLinkAddress& own) { return own.address == address; });
    });
}

std::optional<HostLink> FindHostLink(MacAddress mac) {
    if (mac.IsZero()) {
        errno = ENODEV;
        return std::nullopt;
    }
    return Find([mac](const HostLink& link) { return link.mac == mac; });
}

std::optional<HostLink> FindHostLinkByIndex(std::uint32_t index) {
    return Find([index](const HostLink& link) { return link.index == index; });
}

std::optional<HostLink> FindHostLinkByText(std::string_view name) {
    const std::wstring text = ToWide(name);
    if (const auto address = ParseIPAddress(text)) {
        return FindHostLink(*address);
    }
    if (const auto mac = ParseMACAddress(text)) {
        return FindHostLink(*mac);
    }
    errno = ENODEV;
    return std::nullopt;
}

std::optional<HostLink> DefaultHostLink() {
    if (const std::uint32_t index = DefaultRouteLinkIndex(); index != 0) {
        if (auto link = FindHostLinkByIndex(index); link && !link->mac.IsZero()) {
            return link;
        }
    }
    return Find([](const HostLink& link) {
        return link.up && !link.loopback && !link.mac.IsZero() && !link.addresses.empty();
    });
}

} // namespace vnxtest
