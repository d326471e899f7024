// The host's adapters as they were within the last second.
//
// A query of the system takes as long as many echoes; what every received frame may cause to be asked is
// answered from here. A change on the host is seen within a second. Any thread.
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

#include "vnetx/host/host_links.h"

namespace vnxtest {

class RecentHostLinks {
public:
    // As the functions of host_links.h, but errno is not set.
    std::optional<HostLink> Find(Ipv4Address address);
    std::optional<HostLink> FindByIndex(std::uint32_t index);

private:
    using Clock = std::chrono::steady_clock;
    template <typename Matches>
    std::optional<HostLink> FindWhere(Matches matches);

    std::mutex m_mutex;
    std::vector<HostLink> m_links;
    Clock::time_point m_asked{}; // never: at the beginning of the clock
};

} // namespace vnxtest
