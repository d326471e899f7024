// A guest on the simulated LAN, as a test drives it: opened as the program opens its interfaces.
#pragma once

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/guest_mac.h"
#include "vnetx/library.h"
#include "vnetx/sim.h"
#include "vnetx/wire_format.h"

namespace vnxtest {

using Bytes = std::vector<std::uint8_t>;

inline constexpr Ipv4Address kFirstGuest{198, 18, 0, 111};
inline constexpr Ipv4Address kSecondGuest{198, 18, 0, 222};

inline std::unique_ptr<SimLibrary> Lan(std::wstring_view options = L"") {
    std::wstring error;
    auto library = MakeSimLibrary(options, error);
    EXPECT_TRUE(library) << std::string(error.begin(), error.end());
    return library;
}

struct GuestOptions {
    bool tap = false;
    Ipv4Address ip = kFirstGuest;
    bool socketNotify = false;
    std::uint32_t timeout = 250;
    bool debug = false;
    std::uint32_t debugFlags = 0;
};

class SimGuest {
public:
    SimGuest(VnetxLibrary& library, GuestOptions options) : m_library(library), m_options(options) {
        m_handle = library.Open("198.18.0.1", VNETX_OPEN_READ_WRITE |
                                                  (options.socketNotify ? VNETX_OPEN_SOCKET_NOTIFY : 0));
        EXPECT_GE(m_handle, 0) << std::strerror(errno);
        VnetxInterfaceRequest record{};
        record.u.value = options.debugFlags;
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_TUNSETDEBUG, &record), 0);
        record = {};
        record.u.flags =
            static_cast<std::uint16_t>((options.tap ? VNETX_IFF_TAP : VNETX_IFF_TUN) | VNETX_IFF_NO_PI);
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_TUNSETIFF, &record), 0);
        m_name = record.name;
        record = {};
        record.u.inet.family = VNETX_AF_INET;
        StoreIpv4(record.u.inet.address, options.ip);
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_SIOCSIFDSTADDR, &record), 0);
        record = {};
        record.u.value = options.timeout;
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_VNXSTIMEOUT, &record), 0);
        record = {};
        record.u.flags = static_cast<std::uint16_t>(VNETX_IFF_UP | (options.debug ? VNETX_IFF_DEBUG : 0));
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_SIOCSIFFLAGS, &record), 0);
    }
    ~SimGuest() { Close(); }
    SimGuest(const SimGuest&) = delete;
    SimGuest& operator=(const SimGuest&) = delete;

    void Close() {
        if (m_handle >= 0) {
            m_library.Close(std::exchange(m_handle, -1));
        }
    }

    std::int32_t Handle() const { return m_handle; }
    const std::string& Name() const { return m_name; }
    Ipv4Address Ip() const { return m_options.ip; }
    MacAddress Mac() const { return BuildGuestMac(m_options.ip); }

    // The next frame; empty when none came in time.
    Bytes Read() {
        Bytes buffer(65535);
        const std::int32_t length =
            m_library.Read(m_handle, buffer.data(), static_cast<std::uint32_t>(buffer.size()));
        EXPECT_GE(length, 0) << std::strerror(errno);
        buffer.resize(static_cast<std::size_t>(std::max(length, 0)));
        return buffer;
    }
    std::int32_t Write(std::span<const std::uint8_t> frame) {
        return m_library.Write(m_handle, frame.data(), static_cast<std::uint32_t>(frame.size()));
    }

    MacAddress AskMac(Ipv4Address address) {
        VnetxArpRequest record{};
        record.protocolFamily = VNETX_AF_INET;
        StoreIpv4(record.protocolAddress, address);
        return m_library.Ioctl(m_handle, VNETX_SIOCGARP, &record) == 0 ? LoadMac(record.hardwareAddress)
                                                                       : MacAddress();
    }

    // An IP packet to its next hop; returns what the write returned.
    std::int32_t SendPacket(Ipv4Address destination, const Bytes& packet) {
        if (!m_options.tap) {
            return Write(packet);
        }
        const MacAddress mac = AskMac(destination);
        Bytes frame(kEthernetHeaderLength + packet.size());
        BuildEthernetHeader(frame.data(), {mac.IsZero() ? kSimGatewayMac : mac, Mac(), kEtherTypeIpv4});
        std::copy(packet.begin(), packet.end(), frame.begin() + kEthernetHeaderLength);
        return Write(frame);
    }

    std::int32_t SendEcho(std::uint8_t type, Ipv4Address destination, std::uint16_t identifier,
                          std::uint16_t sequence, std::span<const std::uint8_t> data) {
        SimEcho echo;
        echo.source = Ip();
        echo.destination = destination;
        echo.type = type;
        echo.identifier = identifier;
        echo.sequence = sequence;
        echo.data = data;
        Bytes packet(SimEchoLength(echo));
        SimEchoHeader header;
        header.dontFragment = type == kIcmpEchoRequest;
        BuildSimEcho(echo, header, packet.data());
        return SendPacket(destination, packet);
    }
    std::int32_t Ping(Ipv4Address destination, std::uint16_t sequence, std::size_t size = 32) {
        const Bytes data(size, static_cast<std::uint8_t>('a' + sequence % 26));
        return SendEcho(kIcmpEchoRequest, destination, kIdentifier, sequence, data);
    }

    // The next IP packet. A TAP guest answers the ARP requests that come before it.
    Bytes ReadPacket() {
        while (true) {
            Bytes frame = Read();
            if (frame.empty() || !m_options.tap) {
                return frame;
            }
            const auto header = ParseEthernetHeader(frame);
            const auto payload = std::span<const std::uint8_t>(frame).subspan(kEthernetHeaderLength);
            if (header->type == kEtherTypeIpv4) {
                EXPECT_EQ(header->destination, Mac());
                return Bytes(payload.begin(), payload.end());
            }
            const auto arp = ParseArp(payload);
            if (arp && arp->operation == kArpRequest && arp->targetIp == Ip()) {
                Write(BuildArpFrame(arp->senderMac, Mac(),
                                    {kArpReply, Mac(), Ip(), arp->senderMac, arp->senderIp}));
            }
        }
    }

    // Reads all that comes within one read time-out of each other, as a ping test would: counts the
    // replies it could match.
    struct Tally {
        int answered = 0;                 // requests with a good reply
        int extra = 0;                    // good replies beyond the first
        int spoilt = 0;                   // frames that match nothing
        std::vector<std::uint16_t> order; // the sequence numbers of the good replies
    };
    Tally ReadReplies() {
        Tally tally;
        std::vector<int> replies(65536);
        for (Bytes packet = ReadPacket(); !packet.empty(); packet = ReadPacket()) {
            SimEcho echo;
            const bool good = ParseSimEcho(packet, echo) == SimEchoCheck::Good &&
                              echo.type == kIcmpEchoReply && echo.identifier == kIdentifier &&
                              echo.destination == Ip() && packet.size() == SimEchoLength(echo) &&
                              packet[6] == 0;
            if (!good) {
                ++tally.spoilt;
                continue;
            }
            tally.order.push_back(echo.sequence);
            ++(replies[echo.sequence]++ == 0 ? tally.answered : tally.extra);
        }
        return tally;
    }

    VnetxStatistics Statistics() {
        VnetxStatistics record{};
        record.length = sizeof record;
        EXPECT_EQ(m_library.GetStats(m_handle, &record), 0);
        return record;
    }

    static constexpr std::uint16_t kIdentifier = 0x1234;

private:
    VnetxLibrary& m_library;
    const GuestOptions m_options;
    std::int32_t m_handle = -1;
    std::string m_name;
};

} // namespace vnxtest
