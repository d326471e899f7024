// The simulated LAN: its stations, the guests on it, and the frames between them.
//
// A station does what a real host does: it checks what it gets, answers ARP, asks by ARP for the
// guest's MAC before its first reply, and echoes pings. What is imposed on the replies (loss, delay
// and so on) is decided by sim_fate.h. Frames of one guest to the other pass untouched. Any thread.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <span>
#include <vector>

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "vnetx/driver/interface_settings.h"
#include "vnetx/sim/sim_counters.h"
#include "vnetx/sim/sim_echo.h"
#include "vnetx/sim/sim_options.h"
#include "vnetx/sim/sim_wire.h"

namespace vnxtest {

// Where one guest is plugged in.
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
        SimWire::Clock::time_point due;
        SimFrameTag tag;
        bool reordered;
    };

    const std::uint32_t m_order;
    SimWire m_wire;
    AtomicIpv4 m_ip;
    AtomicMac m_mac;

    // The stations' side, one frame at a time.
    std::mutex m_mutex;
    SimCounters m_counters;
    std::vector<Neighbour> m_neighbours{256}; // by station number
    std::vector<HeldFrame> m_held;
    std::size_t m_heldBytes = 0;
    std::vector<std::uint8_t> m_scratch;
    std::uint16_t m_pingSequence = 0;
    std::uint16_t m_pingAnswered = 0;
};

class SimNetwork {
public:
    explicit SimNetwork(const SimOptions& options) : m_options(options) {}
    SimNetwork(const SimNetwork&) = delete;
    SimNetwork& operator=(const SimNetwork&) = delete;

    const SimOptions& Options() const { return m_options; }

    // A port for the next guest; ports are numbered in the order of these calls, and their counts
    // are kept for the life of the LAN.
    std::shared_ptr<SimPort> AddPort();
    // Takes the guest into the LAN and out of it again. What is on its way to it is then gone.
    void PlugIn(const std::shared_ptr<SimPort>& port);
    void PullOut(SimPort& port);
    // The port is used no more: only its counts stay.
    void Retire(SimPort& port);

    // A frame that the guest puts on the wire.
    void Transmit(SimPort& from, std::span<const std::uint8_t> frame);
    // The moment for the next ping to the guest has come.
    void Tick(SimPort& port);
    // The guest has read a frame of this kind.
    void NoteRead(SimPort& port, SimFrameTag tag);

    // Who has the address, as an ARP exchange of `asking` (may be null) would tell; zero when nobody.
    MacAddress FindMac(Ipv4Address address, const SimPort* asking) const;
    Ipv4Address FindIp(MacAddress mac, const SimPort* asking) const;

    std::size_t PortCount() const;
    SimCounters Counters(std::size_t order) const; // zeroes when there is no such port
    SimCounters Counters() const;                  // of all ports together

private:
    using Clock = SimWire::Clock;

    std::shared_ptr<SimPort> FindGuest(MacAddress mac, const SimPort* except) const;
    std::shared_ptr<SimPort> FindGuest(Ipv4Address ip, const SimPort* except) const;
    bool RouteToGuest(SimPort& from, std::span<const std::uint8_t> packet) const;
    void Flood(const SimPort& from, std::span<const std::uint8_t> frame) const;

    // The stations' side; all under the port's lock.
    void StationsHearArp(SimPort& from, std::span<const std::uint8_t> payload, MacAddress destination);
    void StationGetsPacket(SimPort& from, std::uint8_t station, std::span<const std::uint8_t> packet);
    void AnswerEcho(SimPort& from, std::uint8_t station, const SimEcho& echo);
    void CheckPingAnswer(SimPort& from, const SimEcho& echo);
    void Send(SimPort& to, std::uint8_t station, Ipv4Address ip, std::vector<std::uint8_t>& frame,
              Clock::time_point due, SimFrameTag tag, bool reordered);
    void PutOnWire(SimPort& to, std::span<const std::uint8_t> frame, Clock::time_point due, SimFrameTag tag,
                   bool reordered);
    void Learn(SimPort& port, std::uint8_t station, Ipv4Address ip, MacAddress mac);

    const SimOptions m_options;
    mutable std::shared_mutex m_mutex; // the two lists; under it only wires are locked
    std::vector<std::shared_ptr<SimPort>> m_ports;
    std::vector<std::shared_ptr<SimPort>> m_pluggedIn;
};

} // namespace vnxtest
