#include "wrenpack/promiscuous_linux.h"

#include <cstring>
#include <filesystem>
#include <utility>

#include <linux/if_packet.h>
#include <linux/wireless.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "open/slow_close.h"

namespace vnxtest {

namespace {

// Wireless adapters are not tried: the access point sends a station its own frames only, whatever mode its
// driver reports. /sys tells the kind of every driver, the older request of most.
bool IsWireless(int requests, const std::string& name) {
    std::error_code failure;
    const std::string folder = "/sys/class/net/" + name;
    if (std::filesystem::exists(folder + "/phy80211", failure) ||
        std::filesystem::exists(folder + "/wireless", failure)) {
        return true;
    }
    iwreq request{};
    if (name.size() >= sizeof request.ifr_name) {
        return false;
    }
    std::memcpy(request.ifr_name, name.c_str(), name.size());
    return ioctl(requests, SIOCGIWNAME, &request) == 0;
}

} // namespace

PromiscuousProbe::PromiscuousProbe() : m_requests(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

PromiscuousProbe::~PromiscuousProbe() {
    if (m_requests >= 0) {
        close(m_requests);
    }
    if (m_packets >= 0) {
        slow_close::Begin({m_packets});
    }
}

std::optional<bool> PromiscuousProbe::IsCapable(const std::string& name, std::uint32_t index,
                                                bool isPromiscuous) {
    if (IsWireless(m_requests, name)) {
        return false;
    }
    if (!std::exchange(m_asked, true)) {
        m_packets = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0); // protocol 0: receives no frames
    }
    if (m_packets < 0) {
        return isPromiscuous ? std::optional(true) : std::nullopt;
    }
    packet_mreq membership{};
    membership.mr_ifindex = static_cast<int>(index);
    membership.mr_type = PACKET_MR_PROMISC;
    if (setsockopt(m_packets, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof membership) != 0) {
        return false;
    }
    setsockopt(m_packets, SOL_PACKET, PACKET_DROP_MEMBERSHIP, &membership, sizeof membership);
    return true;
}

} // namespace vnxtest
