// The stations of the simulated LAN: how they handle a guest's frames, and what they send to it.
//
// A station behaves as a real host: it checks what it gets, answers ARP, asks by ARP for the guest's MAC
// before its first reply, and echoes pings. Impairments of the replies (loss, delay and so on) are decided
// by sim_fate.h. Every function is called under the lock of the guest's port.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "vnetx/sim/sim_echo.h"
#include "vnetx/sim/sim_options.h"
#include "vnetx/sim/sim_port.h"

namespace vnxtest {

class SimStations {
public:
    // `options` outlives it.
    explicit SimStations(const SimOptions& options) : m_options(options) {}

    // An ARP packet that the guest has sent to the station `destination` or to all.
    void HearArp(SimPort& from, std::span<const std::uint8_t> payload, MacAddress destination);
    // An IPv4 packet that the guest has sent to `station`.
    void TakePacket(SimPort& from, std::uint8_t station, std::span<const std::uint8_t> packet);
    // The next ping to the guest is due.
    void Ping(SimPort& port);

private:
    using Clock = SimWire::Clock;

    void AnswerEcho(SimPort& from, std::uint8_t station, const SimEcho& echo);
    void CheckPingAnswer(SimPort& from, const SimEcho& echo);
    void Send(SimPort& to, std::uint8_t station, Ipv4Address ip, std::span<std::uint8_t> frame,
              const SimDelivery& how);
    void PutOnWire(SimPort& to, std::span<const std::uint8_t> frame, const SimDelivery& how);
    void Learn(SimPort& port, std::uint8_t station, Ipv4Address ip, MacAddress mac);

    const SimOptions& m_options;
};

} // namespace vnxtest
