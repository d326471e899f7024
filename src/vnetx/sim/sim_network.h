// The simulated LAN: the guests on it, who has which address, and the way of a frame.
//
// Frames of one guest to the other pass untouched; what is for a station is sim_stations.h's. Any thread.
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

    const SimOptions m_options;
    SimStations m_stations{m_options};
    mutable std::shared_mutex m_mutex; // the two lists; under it only wires are locked
    std::vector<std::shared_ptr<SimPort>> m_ports;
    std::vector<std::shared_ptr<SimPort>> m_pluggedIn;
};

} // namespace vnxtest
