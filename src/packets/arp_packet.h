// The ARP and RARP packet on Ethernet (RFC 826, RFC 903).
//
// ArpView reads and writes the 28 bytes in place, so that a request can be turned into its reply in the
// buffer it came in. A view exists only over enough bytes: no accessor can fail. ArpPacket is a value to be
// emitted. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "packets/ethernet.h"
#include "packets/wire.h"

namespace vnxtest {

enum class ArpOperation : std::uint16_t { Request = 1, Reply = 2, ReverseRequest = 3, ReverseReply = 4 };

struct ArpPacket {
    ArpOperation operation = ArpOperation::Request;
    MacAddress senderMac;
    Ipv4Address senderIp;
    MacAddress targetMac;
    Ipv4Address targetIp;
};

template <PacketByte Byte>
class BasicArpView {
public:
    static constexpr std::size_t kLength = 28;
    static constexpr std::size_t kOperationOffset = 6;

    constexpr explicit BasicArpView(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    // The view over the first 28 bytes of `payload` (what follows the Ethernet header; padding may
    // follow), or nullopt if it is shorter.
    static std::optional<BasicArpView> Over(std::span<Byte> payload) {
        if (payload.size() < kLength) {
            return std::nullopt;
        }
        return BasicArpView(payload.template first<kLength>());
    }

    // The same; nullopt also if its addresses are not those of Ethernet and IPv4.
    static std::optional<BasicArpView> OverEthernetIpv4(std::span<Byte> payload) {
        const auto view = Over(payload);
        return view && view->IsEthernetIpv4() ? view : std::nullopt;
    }

    // True for Ethernet hardware (1) and IPv4 protocol (0x0800) addresses of 6 and 4 bytes: the only
    // combination the guest answers.
    bool IsEthernetIpv4() const {
        return LoadBe16<0>(m_bytes) == kEthernetHardware && LoadBe16<2>(m_bytes) == kEtherTypeIpv4 &&
               m_bytes[4] == kMacLength && m_bytes[5] == kIpv4Length;
    }

    ArpOperation Operation() const { return ArpOperation{LoadBe16<kOperationOffset>(m_bytes)}; }
    MacAddress SenderHardwareAddress() const { return LoadMac<8>(m_bytes); }
    Ipv4Address SenderProtocolAddress() const { return LoadIpv4<14>(m_bytes); }
    MacAddress TargetHardwareAddress() const { return LoadMac<18>(m_bytes); }
    Ipv4Address TargetProtocolAddress() const { return LoadIpv4<24>(m_bytes); }

    void SetOperation(ArpOperation operation) {
        StoreBe16<kOperationOffset>(m_bytes, static_cast<std::uint16_t>(operation));
    }
    void SetSenderHardwareAddress(MacAddress mac) { StoreMac<8>(m_bytes, mac); }
    void SetSenderProtocolAddress(Ipv4Address address) { StoreIpv4<14>(m_bytes, address); }
    void SetTargetHardwareAddress(MacAddress mac) { StoreMac<18>(m_bytes, mac); }
    void SetTargetProtocolAddress(Ipv4Address address) { StoreIpv4<24>(m_bytes, address); }

    void Emit(const ArpPacket& packet) {
        StoreBe16<0>(m_bytes, kEthernetHardware);
        StoreBe16<2>(m_bytes, kEtherTypeIpv4);
        m_bytes[4] = kMacLength;
        m_bytes[5] = kIpv4Length;
        SetOperation(packet.operation);
        SetSenderHardwareAddress(packet.senderMac);
        SetSenderProtocolAddress(packet.senderIp);
        SetTargetHardwareAddress(packet.targetMac);
        SetTargetProtocolAddress(packet.targetIp);
    }

private:
    static constexpr std::uint16_t kEthernetHardware = 1;
    static constexpr std::uint8_t kMacLength = 6, kIpv4Length = 4;

    std::span<Byte, kLength> m_bytes;
};

using ArpView = BasicArpView<std::uint8_t>;
using ConstArpView = BasicArpView<const std::uint8_t>; // reads only

// A whole frame, without padding.
inline constexpr std::size_t kArpFrameLength = EthernetView::kLength + ArpView::kLength;
using ArpFrame = std::array<std::uint8_t, kArpFrameLength>;

// The frame of `packet` from its sender to `destination`.
inline ArpFrame MakeArpFrame(MacAddress destination, const ArpPacket& packet) {
    ArpFrame frame;
    const std::span<std::uint8_t, kArpFrameLength> bytes(frame);
    const std::uint16_t etherType =
        packet.operation < ArpOperation::ReverseRequest ? kEtherTypeArp : kEtherTypeRarp;
    EthernetView(bytes.first<EthernetView::kLength>()).Emit({destination, packet.senderMac, etherType});
    ArpView(bytes.last<ArpView::kLength>()).Emit(packet);
    return frame;
}

} // namespace vnxtest
