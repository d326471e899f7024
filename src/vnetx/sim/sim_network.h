// The simulated LAN: its guests, its addresses, and the path of a frame.
//
// Frames of one guest to the other's MAC pass unchanged; those for a station go to sim_stations.h. Any
// thread.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <span>
#include <vector>

#include "vnetx/sim/sim_counters.h"
#include "vnetx/sim/sim_options.h"
#include "vnetx/sim/sim_port.h"
#include "vnetx/sim/sim_stations.h"

namespace vnxtest {

class SimNetwork {
public:
    explicit SimNetwork(const SimOptions& options) : m_options(options) {}
    SimNetwork(const SimNetwork&) = delete;
    SimNetwork& operator=(const SimNetwork&) = delete;

    const SimOptions& Options() const { return m_options; }

    // A port for the next guest; ports are numbered in the order of these calls, and their counts
    // are kept for the life of the LAN.
    std::shared_ptr<SimPort> AddPort();
    // Plugs the guest in, and pulls it out; PullOut() discards the frames on their way to it.
    void PlugIn(const std::shared_ptr<SimPort>& port);
    void PullOut(SimPort& port);
    // The port is used no more; only its counters stay.
    void Retire(SimPort& port);

    // A frame that the guest puts on the wire.
    void Transmit(SimPort& from, std::span<const std::uint8_t> frame);
    // The next ping to the guest is due.
    void Tick(SimPort& port);
    // The guest has read a frame of this kind.
    void NoteRead(SimPort& port, SimFrameTag tag);

    // The answer that an ARP exchange of `asking` (may be null) would get; zero if there is none.
    MacAddress FindMac(Ipv4Address address, const SimPort* asking) const;
    Ipv4Address FindIp(MacAddress mac, const SimPort* asking) const;

    std::size_t PortCount() const;
    SimCounters Counters(std::size_t order) const; // zeroes if there is no such port
    SimCounters Counters() const;                  // of all ports together

private:
    using Clock = SimWire::Clock;

    std::shared_ptr<SimPort> FindGuest(MacAddress mac, const SimPort* except) const;
    std::shared_ptr<SimPort> FindGuest(Ipv4Address ip, const SimPort* except) const;
    bool RouteToGuest(SimPort& from, std::span<const std::uint8_t> packet) const;
    void Flood(const SimPort& from, std::span<const std::uint8_t> frame) const;

    const SimOptions m_options;
    SimStations m_stations{m_options};
    mutable std::shared_mutex m_mutex; // guards the two lists; under it only the locks of wires are taken
    std::vector<std::shared_ptr<SimPort>> m_ports;
    std::vector<std::shared_ptr<SimPort>> m_pluggedIn;
};

} // namespace vnxtest
