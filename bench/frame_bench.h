// A receive path with everything it needs, over a null library, and the frames to hand to it.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "core/debug_output.h"
#include "core/output_channel.h"
#include "null_library.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "ping/ping_test.h"
#include "ping/receive_path.h"

namespace vnxtest {

inline constexpr Ipv4Address kGuestIp{10, 77, 0, 100};
inline constexpr Ipv4Address kPeerIp{10, 77, 0, 2};
inline constexpr MacAddress kGuestMac({0x02, 0x77, 0, 0, 0, 0x64});
inline constexpr MacAddress kPeerMac({0x02, 0x77, 0, 0, 0, 0x02});

class SilentView final : public ViewPort {
public:
    void PostViewMessage(ViewMessage) override {}
};

// The receive path with everything it needs, over a null library.
class FrameBench {
public:
    explicit FrameBench(bool tapMode)
        : m_output(m_view), m_writer(m_library, [](Ipv4Address) { return Ipv4Address(); }),
          m_pingTest(m_library, m_writer, m_run, m_view), m_path(m_library, m_writer, m_run, m_pingTest) {
        m_output.Attach();
        RegisterDebugOutput(m_library);
        m_info.open.Open(m_library, "10.77.0.1", VNETX_OPEN_READ_WRITE);
        m_info.open.SetName(L"bench0");
        m_info.open.Publish();
        m_info.asked.tapMode = tapMode;
        InterfaceAddresses& addresses = m_info.addresses;
        addresses.guestIp = kGuestIp;
        addresses.guestMac = kGuestMac;
        addresses.adapterIp = Ipv4Address{10, 77, 0, 1};
        addresses.adapterMac = kPeerMac;
        addresses.netMask = Ipv4Address{255, 255, 255, 0};
        addresses.adapterKnown = true;
    }
    ~FrameBench() { UnregisterDebugOutput(); }
    FrameBench(const FrameBench&) = delete;
    FrameBench& operator=(const FrameBench&) = delete;

    void Handle(std::span<std::uint8_t> storage) {
        m_path.HandleReceivedPacket(m_info, ReceivedPacket(storage));
        // The lines are taken away now and then, as the user-interface thread does.
        if (++m_handled % 4096 == 0) {
            m_taken += m_output.TakePending().size();
        }
    }
    std::uint64_t Written() const { return m_library.Written(); }

private:
    SilentView m_view;
    NullLibrary m_library;
    OutputChannel m_output;
    RunSettings m_run;
    PacketWriter m_writer;
    PingTest m_pingTest;
    ReceivePath m_path;
    INTERFACE_INFO m_info;
    std::uint64_t m_handled = 0;
    std::size_t m_taken = 0; // bytes of lines
};

// Headroom, then the frame (TAP) or the packet (TUN) of an echo request to `destination`.
inline std::vector<std::uint8_t> EchoRequest(bool tapMode, std::size_t dataSize, Ipv4Address destination) {
    const std::size_t front = ReceivedPacket::kHeadroom + (tapMode ? EthernetView::kLength : 0);
    std::vector<std::uint8_t> storage(front + Ipv4View::kLength + IcmpEchoView::kLength + dataSize);
    const std::span<std::uint8_t> packet = std::span(storage).subspan(front);
    auto ip = Ipv4View::Over(packet);
    ip->Emit({.totalLength = static_cast<std::uint16_t>(packet.size()),
              .source = kPeerIp,
              .destination = destination});
    std::memset(packet.data() + 6, 0, 2); // without Don't-Fragment
    ip->Seal();
    const std::span<std::uint8_t> message = packet.subspan(Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    icmp->SetType(kIcmpEchoRequest);
    icmp->SetChecksum(InetChecksum(message));
    if (tapMode) {
        auto ethernet = EthernetView::Over(std::span(storage).subspan(ReceivedPacket::kHeadroom));
        ethernet->SetDestination(kGuestMac);
        ethernet->SetSource(kPeerMac);
        ethernet->SetEtherType(kEtherTypeIpv4);
    }
    return storage;
}

} // namespace vnxtest
