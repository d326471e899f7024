#include "vnetx/host/host_links.h"

#include <algorithm>
#include <cerrno>

#include "wrenlib/adapter_rank.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// All adapters that match; if none does, empty with errno ENODEV, or with the error of the query.
template <typename Matches>
std::vector<HostLink> FindAll(Matches matches) {
    errno = 0;
    std::vector<HostLink> links = ListHostLinks();
    if (links.empty() && errno != 0) {
        return links;
    }
    std::erase_if(links, [&](const HostLink& link) { return !matches(link); });
    errno = links.empty() ? ENODEV : 0;
    return links;
}

// The first adapter that matches, those that are up before the others.
template <typename Matches>
std::optional<HostLink> Find(Matches matches) {
    std::vector<HostLink> links = FindAll(matches);
    const auto up = std::ranges::find(links, true, &HostLink::up);
    return links.empty() ? std::nullopt : std::optional(std::move(up != links.end() ? *up : links.front()));
}

// Of adapters with one MAC address, the one that it stands for.
HostLink TakeMeant(std::vector<HostLink> links) {
    if (links.size() == 1) {
        return std::move(links.front());
    }
    const std::uint32_t best = DefaultRouteLinkIndex();
    const auto rank = [best](const HostLink& link) {
        return AdapterRank{link.index != best, !link.up || link.addresses.empty(),
                           IsPortOfAnother(link.index), !link.up, link.index};
    };
    return std::move(*std::ranges::min_element(links, {}, rank));
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
    std::vector<HostLink> links = FindAll([mac](const HostLink& link) { return link.mac == mac; });
    return links.empty() ? std::nullopt : std::optional(TakeMeant(std::move(links)));
}

std::optional<HostLink> FindHostLinkByIndex(std::uint32_t index) {
    return Find([index](const HostLink& link) { return link.index == index; });
}

bool HostLinkHasCarrier(std::uint32_t index) {
    const auto link = FindHostLinkByIndex(index);
    return !link || !link->up || link->carrier;
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
