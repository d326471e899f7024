// A TUN interface on an Ethernet adapter: bare IPv4 on one side, frames on the other (RFC 894).
//
// It answers ARP for the guest (RFC 826), finds a packet's next hop and its MAC, and queues packets whose
// next hop is being asked for. After the time of one ARP exchange they are dropped and counted, as a router
// would do. The sender of the frame that a thread has just read is answered without an ARP exchange.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>

#include "packets/arp_packet.h"
#include "packets/reply_scope.h"
#include "vnetx/host/recent_host_links.h"
#include "vnetx/pcap/arp_resolver.h"
#include "vnetx/pcap/waiting_packets.h"
#include "vnetx/watch/neighbours.h"

namespace vnxtest {

class Ipv4OverEthernet {
public:
    using Clock = NeighbourTable::Clock;

    // The guest's side of the link as it is set at the moment.
    struct Guest {
        MacAddress mac;
        Ipv4Address ip;
        Ipv4Address mask;      // 255.255.255.255 or zero: the adapter's own counts
        Ipv4Address broadcast; // zero: follows from the mask
    };
    struct Functions {
        std::function<std::int32_t(std::span<const std::uint8_t>)> send; // one frame: its length or -1
        std::function<void()> drop;                                      // counts a packet that was dropped
        std::function<void()> wakeReader; // makes a waiting reader call TimedWork() in time
    };

    // All references outlive it. `reader` is the interface's number (reading_thread.h).
    struct Surroundings {
        NeighbourTable& table;
        ArpResolver& resolver;
        RecentHostLinks& hostLinks;
        std::uint32_t linkIndex;
        std::uint64_t reader;
    };

    Ipv4OverEthernet(const Surroundings& around, Functions functions)
        : m_around(around), m_functions(std::move(functions)) {}

    // Sends, queues or drops one packet, at least an IPv4 header long; its length, or -1 with errno. Any
    // thread.
    std::int32_t Write(const Guest& guest, std::span<const std::uint8_t> packet);
    // Takes an ARP packet from the wire: answers a request for the guest and learns the sender. False,
    // without effect, if the sender is not a single station or its address is one that no host can have.
    bool HandleArp(const Guest& guest, const ReplyScope& scope, const ConstArpView& arp);
    // Repeats questions and drops packets whose time is over. Milliseconds until the next time, negative if
    // nothing is queued. Any thread.
    int TimedWork(const Guest& guest);
    // False while there is nothing for TimedWork() to do. Takes no lock; any thread.
    bool HasTimedWork() const { return !m_waiting.IsEmpty(); }

private:
    static constexpr std::size_t kMostRoutes = 1024;
    static constexpr auto kRouteLifetime = std::chrono::seconds(1);

    struct Route {
        Ipv4Address hop;
        bool broadcast = false;
        Clock::time_point found;
    };

    static std::optional<Route> Direct(Ipv4Address own, Ipv4Address mask, Ipv4Address destination);
    Route RouteTo(const Guest& guest, Ipv4Address destination);
    Route AskHost(const Guest& guest, Ipv4Address destination);
    std::int32_t SendTo(MacAddress mac, const Guest& guest, std::span<const std::uint8_t> packet);
    void Keep(const Guest& guest, Ipv4Address hop, std::span<const std::uint8_t> packet);
    bool Ask(const Guest& guest, Ipv4Address hop);
    void Drop(std::size_t count);
    void SendWaiting(const Guest& guest, Ipv4Address hop, MacAddress mac);

    const Surroundings m_around;
    const Functions m_functions;

    std::mutex m_routeMutex;
    std::unordered_map<std::uint32_t, Route> m_routes; // the host's, by destination

    WaitingPackets m_waiting{ArpResolver::kRepeatAfter, ArpResolver::kExchangeTime};
};

} // namespace vnxtest
