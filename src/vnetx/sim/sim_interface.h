// One open handle of the `sim` library: a guest plugged into the simulated LAN.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vnetx/driver/virtual_interface.h"
#include "vnetx/sim/sim_network.h"

namespace vnxtest {

class SimInterface final : public VirtualInterface {
public:
    // `gate` waits on the wire of `port`.
    SimInterface(std::shared_ptr<SimNetwork> network, std::shared_ptr<SimPort> port,
                 std::unique_ptr<ReaderGate> gate, bool socketNotify,
                 const std::atomic<VnetxDebugOutput>& debugSink);
    ~SimInterface() override;

    std::optional<std::uint64_t> DroppedByDriver() override {
        return m_network->Counters(m_port->Order()).overflowed;
    }

private:
    int Attach(InterfaceMode mode, std::string& name) override;
    int BringUp() override;
    void TakeDown() override;
    std::uint32_t MaximumMtu() const override;
    int Health() override { return 0; }
    std::optional<Ipv4Address> AdapterAddress() override { return kSimAdapterIp; }
    MacAddress FindNeighbour(Ipv4Address address) override;
    Ipv4Address FindNeighbourByMac(MacAddress mac) override;
    std::int32_t TakeFrame(std::uint8_t* buffer, std::uint32_t size) override;
    WaitObject FrameWaitObject() const override { return -1; }
    int DoTimedWork() override;
    std::int32_t WriteFrame(const std::uint8_t* frame, std::uint32_t length) override;

    std::int32_t WritePacket(const std::uint8_t* packet, std::uint32_t length);
    std::span<const std::uint8_t> Accept(const SimFrame& frame);
    bool HandleArpInside(std::span<const std::uint8_t> frame);
    void ShowArpExchange(Ipv4Address neighbour);
    void SendFrame(std::span<const std::uint8_t> frame);
    void RefreshIdentity() { m_port->SetIdentity(GuestIp(), GuestMac()); }

    const std::shared_ptr<SimNetwork> m_network;
    const std::shared_ptr<SimPort> m_port;
    const std::uint32_t m_limit; // the MTU of the wire
    // What came in the last transfer and where reading stands in it; under the reading lock.
    std::vector<SimFrame> m_batch;
    std::size_t m_batchSize = 0;
    std::size_t m_next = 0;
    // TUN: the LAN addresses that were asked for by ARP, by last octet.
    std::array<std::atomic<bool>, 256> m_asked{};
};

} // namespace vnxtest
