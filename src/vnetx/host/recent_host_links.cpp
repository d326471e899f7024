#include "vnetx/host/recent_host_links.h"

#include <algorithm>

namespace vnxtest {
namespace {

constexpr auto kLifetime = std::chrono::seconds(1);

} // namespace

// The first adapter that matches, those that are up before the others.
template <typename Matches>
std::optional<HostLink> RecentHostLinks::FindWhere(Matches matches) {
    const std::lock_guard lock(m_mutex);
    const auto now = Clock::now();
    if (m_asked == Clock::time_point() || now - m_asked >= kLifetime) {
        m_asked = now;
        m_links = ListHostLinks();
    }
    const HostLink* found = nullptr;
    for (const HostLink& link : m_links) {
        if (matches(link) && (!found || (link.up && !found->up))) {
            found = &link;
        }
    }
    return found ? std::optional(*found) : std::nullopt;
}

std::optional<HostLink> RecentHostLinks::Find(Ipv4Address address) {
    return FindWhere([address](const HostLink& link) {
        return std::any_of(link.addresses.begin(), link.addresses.end(),
                           [address](const HostLinkAddress& own) { return own.address == address; });
    });
}

std::optional<HostLink> RecentHostLinks::FindByIndex(std::uint32_t index) {
    return FindWhere([index](const HostLink& link) { return link.index == index; });
}

} // namespace vnxtest
