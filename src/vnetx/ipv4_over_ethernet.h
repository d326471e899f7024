// A TUN interface on an Ethernet adapter: bare IPv4 on one side, frames on the other (RFC 894).
//
// It answers ARP for the guest (RFC 826), finds a packet's next hop and its MAC, and keeps a packet
// whose next hop is being asked for. A packet is never held longer than an ARP exchange may take;
// then it is dropped and counted, as a router would: a silent host looks silent to the program.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "vnetx/arp_resolver.h"
#include "vnetx/neighbours.h"
#include "vnetx/wire_format.h"

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
        std::function<void()> wakeReader; // so that TimedWork() is called in time
    };

    Ipv4OverEthernet(NeighbourTable& table, ArpResolver& resolver, std::uint32_t linkIndex,
                     Functions functions)
        : m_table(table), m_resolver(resolver), m_linkIndex(linkIndex), m_functions(std::move(functions)) {}

    // Sends or keeps one IPv4 packet; its length, or -1 with errno. Any thread.
    std::int32_t Write(const Guest& guest, const std::uint8_t* packet, std::uint32_t length);
    // An ARP packet from the wire: answers a question for the guest and learns.
    void HandleArp(const Guest& guest, const ArpPacket& arp);
    // Repeats questions and drops packets whose time has come. Milliseconds until there is something
    // to do again, negative when nothing is waiting.
    int TimedWork(const Guest& guest);

private:
    static constexpr std::size_t kMostWaitingPackets = 256;
    static constexpr std::size_t kMostRoutes = 1024;
    static constexpr auto kRouteLifetime = std::chrono::seconds(1);

    struct Route {
        Ipv4Address hop;
        bool broadcast = false;
        Clock::time_point found;
    };
    struct Waiting {
        Clock::time_point since;
        bool repeated = false;
        std::vector<std::vector<std::uint8_t>> packets;
    };

    Route RouteTo(const Guest& guest, Ipv4Address destination);
    Route FindRoute(const Guest& guest, Ipv4Address destination) const;
    std::int32_t SendTo(MacAddress mac, const Guest& guest, const std::uint8_t* packet, std::uint32_t length);
    void Keep(const Guest& guest, Ipv4Address hop, const std::uint8_t* packet, std::uint32_t length);
    void SendWaiting(const Guest& guest, Ipv4Address hop, MacAddress mac);

    NeighbourTable& m_table;
    ArpResolver& m_resolver;
    const std::uint32_t m_linkIndex;
    const Functions m_functions;

    std::mutex m_routeMutex;
    std::unordered_map<std::uint64_t, Route> m_routes; // by destination and mask

    std::mutex m_waitingMutex;
    std::unordered_map<std::uint32_t, Waiting> m_waiting; // by next hop
    std::size_t m_waitingPackets = 0;
    std::atomic<bool> m_isWaiting{false};
};

} // namespace vnxtest
