// The ARP and RARP packet on Ethernet (RFC 826, RFC 903).
//
// ArpView reads and writes the 28 bytes in place, so that a request can be turned into its reply in
// the buffer it came in. A view exists only over enough bytes: no accessor can fail.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "packets/wire.h"

namespace vnxtest {

enum class ArpOperation : std::uint16_t { Request = 1, Reply = 2, ReverseRequest = 3, ReverseReply = 4 };

template <PacketByte Byte>
class BasicArpView {
public:
    static constexpr std::size_t kLength = 28;

    // The view over the first 28 bytes of `payload` (what follows the Ethernet header; padding may
    // follow), or nothing when it is shorter.
    static std::optional<BasicArpView> Over(std::span<Byte> payload) {
        if (payload.size() < kLength) {
            return std::nullopt;
        }
        return BasicArpView(payload.template first<kLength>());
    }

    // True for Ethernet hardware (1) and IPv4 protocol (0x0800) addresses of 6 and 4 bytes: the only
    // combination the guest answers.
    bool IsEthernetIpv4() const {
        return LoadBe16<0>(m_bytes) == 1 && LoadBe16<2>(m_bytes) == 0x0800 && m_bytes[4] == 6 &&
               m_bytes[5] == 4;
    }

    ArpOperation Operation() const { return ArpOperation{LoadBe16<6>(m_bytes)}; }
    MacAddress SenderHardwareAddress() const { return LoadMac<8>(m_bytes); }
    Ipv4Address SenderProtocolAddress() const { return LoadIpv4<14>(m_bytes); }
    MacAddress TargetHardwareAddress() const { return LoadMac<18>(m_bytes); }
    Ipv4Address TargetProtocolAddress() const { return LoadIpv4<24>(m_bytes); }

    void SetOperation(ArpOperation operation) {
        StoreBe16<6>(m_bytes, static_cast<std::uint16_t>(operation));
    }
    void SetSenderHardwareAddress(MacAddress mac) { StoreMac<8>(m_bytes, mac); }
    void SetSenderProtocolAddress(Ipv4Address address) { StoreIpv4<14>(m_bytes, address); }
    void SetTargetHardwareAddress(MacAddress mac) { StoreMac<18>(m_bytes, mac); }
    void SetTargetProtocolAddress(Ipv4Address address) { StoreIpv4<24>(m_bytes, address); }

private:
    explicit BasicArpView(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    std::span<Byte, kLength> m_bytes;
};

using ArpView = BasicArpView<std::uint8_t>;
using ConstArpView = BasicArpView<const std::uint8_t>; // reads only

} // namespace vnxtest
