// The port of one guest on the simulated LAN, and what the stations know about the guest.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

#include "vnetx/driver/interface_settings.h"
#include "vnetx/sim/sim_counters.h"
#include "vnetx/sim/sim_wire.h"

namespace vnxtest {

// When a frame reaches the guest, its kind, and whether the next one may overtake it.
struct SimDelivery {
    SimWire::Clock::time_point due;
    SimFrameTag tag = SimFrameTag::Other;
    bool reordered = false;
};

class SimPort {
public:
    explicit SimPort(std::uint32_t order) : m_order(order) {}

    SimWire& Wire() { return m_wire; }
    std::uint32_t Order() const { return m_order; }

    // Who the guest is; kept up to date by its interface.
    void SetIdentity(Ipv4Address ip, MacAddress mac) {
        m_ip.Set(ip);
        m_mac.Set(mac);
    }
    Ipv4Address Ip() const { return m_ip.Get(); }
    MacAddress Mac() const { return m_mac.Get(); }

private:
    friend class SimNetwork;
    friend class SimStations;

    // What a station knows of the guest's MAC (RFC 826).
    struct Neighbour {
        enum class State { Unknown, Asked, Known } state = State::Unknown;
        Ipv4Address ip;
        MacAddress mac;
        SimWire::Clock::time_point asked;
    };
    // A frame that waits for its station to learn the guest's MAC.
    struct HeldFrame {
        std::uint8_t station;
        Ipv4Address ip;
        std::vector<std::uint8_t> frame;
        SimDelivery how;
    };

    const std::uint32_t m_order;
    SimWire m_wire;
    AtomicIpv4 m_ip;
    AtomicMac m_mac;

    // Guards the stations' side, below: one frame at a time.
    std::mutex m_mutex;
    SimCounters m_counters;
    std::vector<Neighbour> m_neighbours{256}; // by station number
    std::vector<HeldFrame> m_held;
    std::size_t m_heldBytes = 0;
    std::vector<std::uint8_t> m_scratch;
    std::uint16_t m_pingSequence = 0;
    std::uint16_t m_pingAnswered = 0;
};

} // namespace vnxtest
