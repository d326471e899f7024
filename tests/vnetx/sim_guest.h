// A guest on the simulated LAN, as a test drives it: it pings, and counts the replies that it can match.
#pragma once

#include "vnetx/guest_mac.h"
#include "vnetx/sim.h"
#include "vnetx/support_vnetx.h"

namespace vnxtest {

inline constexpr Ipv4Address kFirstGuest{198, 18, 0, 111};
inline constexpr Ipv4Address kSecondGuest{198, 18, 0, 222};
inline constexpr std::uint16_t kIdentifier = 0x1234;

inline std::unique_ptr<SimLibrary> Lan(std::wstring_view options = L"") {
    std::wstring error;
    auto library = MakeSimLibrary(options, error);
    EXPECT_TRUE(library) << std::string(error.begin(), error.end());
    return library;
}

// Up from the start.
class SimGuest : public GuestHandle {
public:
    SimGuest(VnetxLibrary& library, GuestOptions options) : GuestHandle(library), m_options(options) {
        EXPECT_TRUE(Open("198.18.0.1", options) && Up()) << std::strerror(errno);
    }

    Ipv4Address Ip() const { return m_options.ip; }

    // The next frame; empty when none came in time.
    const Bytes& ReadFrame() {
        EXPECT_GE(Read(), 0) << std::strerror(errno);
        return frame;
    }

    // An IP packet as it is written, in TAP mode to the station with that MAC.
    Bytes Framed(MacAddress mac, const Bytes& packet) const {
        Bytes bytes(m_options.tap ? kEthernetHeaderLength : 0);
        if (m_options.tap) {
            BuildEthernetHeader(bytes.data(), {mac, BuildGuestMac(Ip()), kEtherTypeIpv4});
        }
        bytes.insert(bytes.end(), packet.begin(), packet.end());
        return bytes;
    }
    // To its next hop; returns what the write returned.
    std::int32_t SendPacket(Ipv4Address destination, const Bytes& packet) {
        const MacAddress mac = m_options.tap ? Arp(destination) : MacAddress();
        return Write(Framed(mac.IsZero() ? kSimGatewayMac : mac, packet));
    }
    Bytes Echo(std::uint8_t type, Ipv4Address destination, std::uint16_t sequence, std::size_t size = 32) {
        const Bytes data(size, static_cast<std::uint8_t>('a' + sequence % 26));
        const SimEcho echo{Ip(), destination, 0, type, kIdentifier, sequence, data};
        Bytes packet(SimEchoLength(echo));
        BuildSimEcho(echo, {.dontFragment = type == kIcmpEchoRequest}, packet.data());
        return packet;
    }
    std::int32_t Ping(Ipv4Address destination, int sequence, std::size_t size = 32) {
        return SendPacket(destination,
                          Echo(kIcmpEchoRequest, destination, static_cast<std::uint16_t>(sequence), size));
    }

    // The next IP packet. A TAP guest answers the ARP requests that come before it.
    Bytes ReadPacket() {
        while (true) {
            if (ReadFrame().empty() || !m_options.tap) {
                return frame;
            }
            const auto payload = std::span<const std::uint8_t>(frame).subspan(kEthernetHeaderLength);
            if (ParseEthernetHeader(frame)->type == kEtherTypeIpv4) {
                EXPECT_EQ(LoadMac(frame.data()), BuildGuestMac(Ip()));
                return Bytes(payload.begin(), payload.end());
            }
            const auto arp = ParseArp(payload);
            if (arp && arp->operation == kArpRequest && arp->targetIp == Ip()) {
                AnswerArp(*arp);
            }
        }
    }
    void AnswerArp(const ArpPacket& question) {
        const MacAddress mac = BuildGuestMac(Ip());
        Write(BuildArpFrame(question.senderMac, mac,
                            {kArpReply, mac, Ip(), question.senderMac, question.senderIp}));
    }

    // All that comes within one read time-out of each other, as a ping test would count it.
    struct Tally {
        int answered = 0;       // requests with a good reply
        int extra = 0;          // good replies beyond the first
        int spoilt = 0;         // frames that match nothing
        std::vector<int> order; // the sequence numbers of the good replies
    };
    Tally ReadReplies() {
        Tally tally;
        for (Bytes packet = ReadPacket(); !packet.empty(); packet = ReadPacket()) {
            SimEcho echo;
            if (ParseSimEcho(packet, echo) != SimEchoCheck::Good || echo.type != kIcmpEchoReply ||
                echo.identifier != kIdentifier || echo.destination != Ip() || packet[6] != 0 ||
                packet.size() != SimEchoLength(echo)) {
                ++tally.spoilt;
                continue;
            }
            const bool seen = std::count(tally.order.begin(), tally.order.end(), echo.sequence) != 0;
            ++(seen ? tally.extra : tally.answered);
            tally.order.push_back(echo.sequence);
        }
        return tally;
    }

private:
    const GuestOptions m_options;
};

} // namespace vnxtest
