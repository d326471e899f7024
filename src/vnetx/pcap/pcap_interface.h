// One open handle of the `pcap` library: the guest with a MAC of its own on an adapter's network.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vnetx/driver/adapter_watch.h"
#include "vnetx/driver/virtual_interface.h"
#include "vnetx/host/recent_host_links.h"
#include "vnetx/pcap/arp_resolver.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/pcap/ipv4_over_ethernet.h"
#include "vnetx/pcap/neighbours.h"

namespace vnxtest {

// Frames that came in one transfer, in the library's I/O buffer.
class FrameBatch {
public:
    struct Frame {
        const std::uint8_t* bytes;
        std::uint32_t captured;
        std::uint32_t length; // on the wire
    };

    // Room for `bufferSize` bytes, but at least for one frame of `largestFrame` bytes.
    void Resize(std::uint32_t bufferSize, std::uint32_t largestFrame);
    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_buffer.size()); }
    // How many frames are sure to find room.
    int Capacity() const { return m_capacity; }

    bool IsEmpty() const { return m_first == m_end; }
    void Clear() { m_first = m_end = m_frameBytes = 0; }
    void Append(const std::uint8_t* bytes, std::uint32_t captured, std::uint32_t length);
    Frame TakeFirst();
    // The bytes of the frames appended since Clear().
    std::uint32_t FrameBytes() const { return static_cast<std::uint32_t>(m_frameBytes); }

private:
    std::vector<std::uint8_t> m_buffer;
    int m_capacity = 1;
    std::size_t m_first = 0, m_end = 0, m_frameBytes = 0;
};

class PcapInterface final : public VirtualInterface {
public:
    PcapInterface(const HostLink& link, std::unique_ptr<ReaderGate> gate, bool socketNotify,
                  const std::atomic<VnetxDebugOutput>& debugSink);
    ~PcapInterface() override;

    // Before anything else: gets hold of the adapter. 0 or an errno value (privilege, adapter down).
    int Open();

    std::optional<std::uint64_t> DroppedByDriver() override {
        return IsUp() ? m_capture->Dropped() : std::nullopt;
    }

private:
    int Attach(InterfaceMode mode, std::string& name) override;
    int BringUp() override;
    void TakeDown() override {}
    std::uint32_t MaximumMtu() const override { return m_linkMtu; }
    int Health() override;
    std::optional<Ipv4Address> AdapterAddress() override;
    MacAddress FindNeighbour(Ipv4Address address) override;
    Ipv4Address FindNeighbourByMac(MacAddress mac) override;
    std::int32_t TakeFrame(std::uint8_t* buffer, std::uint32_t size) override;
    WaitObject FrameWaitObject() const override { return m_capture->GetWaitObject(); }
    int DoTimedWork() override { return Mode() == InterfaceMode::Tun ? m_ipv4->TimedWork(Guest()) : -1; }
    std::int32_t WriteFrame(const std::uint8_t* frame, std::uint32_t length) override;

    ArpResolver::Asker Asker() const { return {GuestMac(), GuestIp()}; }
    Ipv4OverEthernet::Guest Guest() const { return {GuestMac(), GuestIp(), NetMask(), BroadcastIp()}; }
    std::uint32_t LargestPacket() const { return Mtu() != 0 ? Mtu() : m_linkMtu; }
    static void NoteSender(std::span<const std::uint8_t> frame);
    bool HearArp(const ConstArpView& arp);
    std::int32_t AcceptTap(std::span<const std::uint8_t> frame, std::uint8_t* buffer, std::uint32_t size);
    std::int32_t AcceptTun(std::span<const std::uint8_t> frame, std::uint8_t* buffer, std::uint32_t size);
    void TellRefusal(const std::string& why) const { Debug().TellRefusal("The adapter " + m_device, why); }
    void CountWritten(std::span<const std::uint8_t> frame);
    int Refill();
    std::int32_t Accept(const FrameBatch::Frame& frame, std::uint8_t* buffer, std::uint32_t size);
    std::int32_t Deliver(std::span<const std::uint8_t> bytes, std::uint8_t* buffer, std::uint32_t size);
    std::int32_t SendFrame(const std::uint8_t* frame, std::uint32_t length);

    const std::string m_device;
    const std::uint32_t m_linkIndex;
    const std::uint32_t m_linkMtu;
    AdapterWatch m_watch;
    RecentHostLinks m_hostLinks;
    NeighbourTable m_neighbours;
    std::unique_ptr<ArpResolver> m_resolver;
    std::unique_ptr<Ipv4OverEthernet> m_ipv4;
    std::unique_ptr<Capture> m_capture; // made once, when first brought up
    FrameBatch m_batch;
    MacAddress m_mac; // the guest's, as the capture has it
};

} // namespace vnxtest
