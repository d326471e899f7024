// The driver of the `sim` library: a guest plugged into the simulated LAN.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vnetx/driver/driver.h"
#include "vnetx/sim/sim_network.h"

namespace vnxtest {

class SimDriver final : public Driver, public Neighbourhood, public LinkFacts {
public:
    // The gate of `state` waits on the wire of `port`.
    SimDriver(std::shared_ptr<SimNetwork> network, std::shared_ptr<SimPort> port, InterfaceState& state);
    ~SimDriver() override;

    MacAddress FindMac(Ipv4Address address) override;
    Ipv4Address FindIp(MacAddress mac) override;
    std::optional<Ipv4Address> Address() override { return kSimAdapterIp; }
    std::uint32_t MaximumMtu() const override;
    std::optional<std::uint64_t> Dropped() override {
        return m_network->Counters(m_port->Order()).overflowed;
    }

private:
    int Attach(InterfaceMode mode, std::string& name) override;
    int SetUp(bool up) override;
    int Health() override { return 0; }
    std::int32_t TakeFrame(std::span<std::uint8_t> buffer) override;
    WaitObject FrameWaitObject() const override { return -1; }
    int DoTimedWork() override;
    std::int32_t WriteFrame(std::span<const std::uint8_t> frame) override;

    int BringUp();
    bool Refill();
    std::int32_t WritePacket(std::span<const std::uint8_t> packet);
    std::span<const std::uint8_t> Accept(const SimFrame& frame);
    bool HandleArpInside(std::span<const std::uint8_t> frame);
    void ShowArpExchange(Ipv4Address neighbour);
    void SendFrame(std::span<const std::uint8_t> frame);
    void RefreshIdentity() { m_port->SetIdentity(Settings().guestIp.Get(), Settings().GuestMac()); }

    const std::shared_ptr<SimNetwork> m_network;
    const std::shared_ptr<SimPort> m_port;
    const std::uint32_t m_limit; // the MTU of the wire
    // The frames of the last transfer and the next one to be read; under the reading lock.
    std::vector<SimFrame> m_batch;
    std::size_t m_batchSize = 0;
    std::size_t m_next = 0;
    // TUN: the LAN addresses that were asked for by ARP, by last octet.
    std::array<std::atomic<bool>, 256> m_asked{};
};

} // namespace vnxtest
