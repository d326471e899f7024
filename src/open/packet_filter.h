// What a packet socket of the guest's may receive, as a program for the kernel (socket(7),
// SO_ATTACH_FILTER).
//
// One maker for whoever opens the socket: a root program for itself, or the helper `vnxtest-open`, which
// locks the filter before it gives the socket away. The filter therefore also holds what the one who gets
// the socket could undo otherwise: it names the adapter, since a socket can be bound to another one, and
// leaves out what this host sends, since PACKET_IGNORE_OUTGOING can be switched off.
#pragma once

#include <array>
#include <cstdint>

#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>

#include "wrenlib/address.h"

namespace vnxtest {

enum class PacketSocketKind : std::uint8_t {
    Guest = 1,      // frames to the guest's MAC, to groups, and to the all-zeroes address, which are counted
    Arp = 2,        // ARP replies (RFC 826)
    ReverseArp = 3, // RARP replies (RFC 903)
};

// The protocol that a socket of the kind is bound to, in host byte order.
constexpr std::uint16_t ProtocolOf(PacketSocketKind kind) {
    switch (kind) {
    case PacketSocketKind::Arp:
        return ETH_P_ARP;
    case PacketSocketKind::ReverseArp:
        return ETH_P_RARP;
    case PacketSocketKind::Guest:
        break;
    }
    return ETH_P_ALL;
}

class PacketFilter {
public:
    // `adapter` is the index of the adapter; 0 leaves it out. `guest` is used by the kind Guest only.
    PacketFilter(PacketSocketKind kind, std::uint32_t adapter, MacAddress guest) {
        Load(BPF_B, static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE));
        DropIf(PACKET_OUTGOING);
        if (adapter != 0) {
            Load(BPF_W, static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_IFINDEX));
            DropUnless(adapter);
        }
        if (kind == PacketSocketKind::Guest) {
            AcceptGuest(guest);
        } else {
            constexpr std::uint32_t kTypeOffset = 12, kOperationOffset = 20;
            Load(BPF_H, kTypeOffset);
            DropUnless(ProtocolOf(kind));
            Load(BPF_H, kOperationOffset);
            DropUnless(kind == PacketSocketKind::Arp ? 2 : 4);
            Add(BPF_RET | BPF_K, kWholeFrame);
        }
    }

    // For SO_ATTACH_FILTER; valid as long as this object.
    sock_fprog Program() { return {m_length, m_code.data()}; }

private:
    static constexpr std::uint32_t kWholeFrame = 0xFFFFFFFF;

    void Add(int code, std::uint32_t operand, std::uint8_t ifTrue = 0, std::uint8_t ifFalse = 0) {
        m_code.at(m_length++) = {static_cast<std::uint16_t>(code), ifTrue, ifFalse, operand};
    }
    void Load(int size, std::uint32_t offset) { Add(BPF_LD | BPF_ABS | size, offset); }
    void DropUnless(std::uint32_t value) {
        Add(BPF_JMP | BPF_JEQ | BPF_K, value, 1, 0);
        Add(BPF_RET | BPF_K, 0);
    }
    void DropIf(std::uint32_t value) {
        Add(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1);
        Add(BPF_RET | BPF_K, 0);
    }
    // Accepts a frame whose destination is `mac`, else goes on after these five instructions.
    void AcceptDestination(const std::array<std::uint8_t, 6>& mac) {
        Load(BPF_W, 0);
        Add(BPF_JMP | BPF_JEQ | BPF_K,
            static_cast<std::uint32_t>(mac[0]) << 24 | static_cast<std::uint32_t>(mac[1]) << 16 |
                static_cast<std::uint32_t>(mac[2]) << 8 | mac[3],
            0, 3);
        Load(BPF_H, 4);
        Add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(mac[4]) << 8 | mac[5], 0, 1);
        Add(BPF_RET | BPF_K, kWholeFrame);
    }
    void AcceptGuest(MacAddress guest) {
        Load(BPF_B, 0);
        Add(BPF_JMP | BPF_JSET | BPF_K, 1, 0, 1); // the group bit
        Add(BPF_RET | BPF_K, kWholeFrame);
        AcceptDestination(guest.Bytes());
        AcceptDestination(MacAddress().Bytes());
        Add(BPF_RET | BPF_K, 0);
    }

    std::array<sock_filter, 24> m_code{};
    std::uint16_t m_length = 0;
};

// A packet socket bound to one adapter, promiscuous, since the guest's MAC is not the adapter's, and filtered
// from its first frame on; `lock` locks the filter for good. The descriptor, or -1 with errno and, in `call`,
// the name of what failed. Takes CAP_NET_RAW.
int OpenPacketSocket(PacketSocketKind kind, std::uint32_t adapter, MacAddress guest, bool lock,
                     const char*& call);

} // namespace vnxtest
