// The driver of the `pcap` library: the guest with a MAC of its own on an adapter's network.
#pragma once

#include <memory>
#include <string>

#include "vnetx/driver/driver.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/pcap/frame_batch.h"
#include "vnetx/pcap/ipv4_over_ethernet.h"
#include "vnetx/pcap/pcap_neighbours.h"
#include "vnetx/watch/adapter_watch.h"
#include "vnetx/watch/address_watch.h"
#include "vnetx/watch/tag_watch.h"

namespace vnxtest {

class PcapDriver final : public Driver, public LinkFacts {
public:
    PcapDriver(const HostLink& link, InterfaceState& state);
    ~PcapDriver() override;

    // Called first: opens the captures of the ARP exchanges. 0 or an errno value (privilege, adapter down).
    int Open();
    Neighbourhood& Neighbours() { return m_neighbours; }

    std::optional<Ipv4Address> Address() override;
    std::uint32_t MaximumMtu() const override { return m_linkMtu; }
    std::optional<std::uint64_t> Dropped() override {
        return Settings().IsUp() ? m_capture->Dropped() : std::nullopt;
    }
    std::optional<WireFacts> Noticed() override;

private:
    int Attach(InterfaceMode mode, std::string& name) override;
    int SetUp(bool up) override;
    int Health() override;
    std::int32_t TakeFrame(std::span<std::uint8_t> buffer) override;
    WaitObject FrameWaitObject() const override { return m_capture->GetWaitObject(); }
    int DoTimedWork() override {
        return Settings().IsTap() || !m_ipv4->HasTimedWork() ? -1 : m_ipv4->TimedWork(Guest());
    }
    std::int32_t WriteFrame(std::span<const std::uint8_t> frame) override;

    Ipv4OverEthernet::Guest Guest() const {
        const InterfaceSettings& settings = Settings();
        return {settings.GuestMac(), settings.guestIp.Get(), settings.netMask.Get(),
                settings.broadcastIp.Get()};
    }
    std::uint32_t LargestPacket() const { return Settings().Mtu() != 0 ? Settings().Mtu() : m_linkMtu; }
    int OpenCapture();
    int BeginAgain();
    void BeginWatching();
    void NoteTooLong(std::uint32_t length);
    static void NoteSender(std::span<const std::uint8_t> frame);
    std::int32_t Accept(const FrameBatch::Frame& frame, std::span<std::uint8_t> buffer);
    std::int32_t AcceptTap(std::span<const std::uint8_t> frame, std::span<std::uint8_t> buffer);
    std::int32_t AcceptTun(std::span<const std::uint8_t> frame, std::span<std::uint8_t> buffer);
    std::int32_t Deliver(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> buffer);
    void TellRefusal(const std::string& why) const { Debug().TellRefusal("The adapter " + m_device, why); }
    void CountWritten(std::span<const std::uint8_t> frame);
    int Refill();
    std::int32_t SendFrame(std::span<const std::uint8_t> frame);

    const std::string m_device;
    const std::uint32_t m_linkIndex;
    const std::uint32_t m_linkMtu;
    AdapterWatch m_watch;
    PcapNeighbours m_neighbours;
    std::unique_ptr<Ipv4OverEthernet> m_ipv4;
    std::unique_ptr<Capture> m_capture; // opened once, when first brought up
    FrameBatch m_batch;
    MacAddress m_mac; // the guest's, as the capture has it
    AddressWatch m_addresses;
    TagWatch m_tags;
    ReaderCounter m_tooLong;                 // frames beyond the MTU
    std::atomic<std::uint32_t> m_longest{0}; // of them
};

} // namespace vnxtest
