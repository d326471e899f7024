// A guest interface of any interface library for tests, opened and configured as the program does it. A
// failed request returns its errno, so that a test can name it in a line.
#pragma once

#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vnetx/driver/guest_mac.h"
#include "vnetx/records.h"
#include "vnetx/sim/sim.h"

namespace vnxtest {

using Bytes = std::vector<std::uint8_t>;
using ::testing::AllOf, ::testing::HasSubstr, ::testing::Not;

inline constexpr Ipv4Address kFirstGuest{198, 18, 0, 111};
inline constexpr Ipv4Address kSecondGuest{198, 18, 0, 222};

inline std::unique_ptr<SimLibrary> Lan(std::wstring_view options = L"") {
    auto library = MakeSimLibrary(options);
    EXPECT_TRUE(library) << ::testing::PrintToString(std::wstring(options));
    return std::move(*library);
}

// What a call failed with, or 0.
inline int ErrorOf(std::int32_t result) {
    return result < 0 ? errno : 0;
}

// SIOCGARP; zero when it fails. Handle -1 asks for the host's own adapters.
inline MacAddress AskMac(VnetxLibrary& library, std::int32_t handle, Ipv4Address address) {
    VnetxArpRequest record{};
    PutIpv4(record, address);
    return library.Ioctl(handle, VNETX_SIOCGARP, &record) == 0 ? MacIn(record) : MacAddress();
}

inline Bytes EthernetFrame(MacAddress to, MacAddress from, std::uint16_t type, const Bytes& payload) {
    Bytes frame(EthernetView::kLength);
    EthernetView::Over(frame)->Emit({to, from, type});
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}
inline Bytes ArpQuestion(MacAddress mac, Ipv4Address ip, Ipv4Address target) {
    const auto frame = MakeArpFrame(MacAddress::Broadcast(), {ArpOperation::Request, mac, ip, {}, target});
    return Bytes(frame.begin(), frame.end());
}
inline Bytes ArpAnswer(MacAddress mac, Ipv4Address ip, MacAddress askerMac, Ipv4Address asker) {
    const auto frame = MakeArpFrame(askerMac, {ArpOperation::Reply, mac, ip, askerMac, asker});
    return Bytes(frame.begin(), frame.end());
}
inline Bytes EchoPacket(const SimEcho& echo, const SimEchoHeader& header = {}) {
    Bytes packet(SimEchoLength(echo));
    BuildSimEcho(echo, header, packet);
    return packet;
}
// An echo request without data.
inline Bytes Request(Ipv4Address source, Ipv4Address destination) {
    return EchoPacket({.source = source, .destination = destination, .type = kIcmpEchoRequest});
}

struct GuestOptions {
    bool tap = false;
    Ipv4Address ip = kFirstGuest;
    bool socketNotify = false;
    std::uint32_t timeout = 250;
    bool up = true;
};

class LibraryGuest {
public:
    LibraryGuest(VnetxLibrary& library, GuestOptions options) : m_library(library), m_options(options) {
        m_handle = library.Open("198.18.0.1", VNETX_OPEN_READ_WRITE |
                                                  (options.socketNotify ? VNETX_OPEN_SOCKET_NOTIFY : 0));
        EXPECT_GE(m_handle, 0) << std::strerror(errno);
        VnetxInterfaceRequest record{};
        record.u.flags =
            static_cast<std::uint16_t>((options.tap ? VNETX_IFF_TAP : VNETX_IFF_TUN) | VNETX_IFF_NO_PI);
        EXPECT_EQ(library.Ioctl(m_handle, VNETX_TUNSETIFF, &record), 0) << std::strerror(errno);
        m_name = record.name;
        EXPECT_EQ(Set(VNETX_SIOCSIFDSTADDR, options.ip), 0);
        EXPECT_EQ(Set(VNETX_VNXSTIMEOUT, options.timeout), 0);
        EXPECT_EQ(options.up ? SetFlags(VNETX_IFF_UP) : 0, 0);
    }
    ~LibraryGuest() { Close(); }
    LibraryGuest(const LibraryGuest&) = delete;
    LibraryGuest& operator=(const LibraryGuest&) = delete;

    void Close() {
        if (m_handle >= 0) {
            m_library.Close(std::exchange(m_handle, -1));
        }
    }

    std::int32_t Handle() const { return m_handle; }
    Ipv4Address Ip() const { return m_options.ip; }
    MacAddress Mac() const { return BuildGuestMac(m_options.ip); }

    // Requests by the interface's name: 0 or errno.
    int Request(std::uint32_t code, VnetxInterfaceRequest& record) {
        std::memcpy(record.name, m_name.data(), m_name.size());
        return ErrorOf(m_library.Ioctl(m_handle, code, &record));
    }
    int Set(std::uint32_t code, std::uint32_t value) {
        VnetxInterfaceRequest record{};
        record.u.value = value;
        return Request(code, record);
    }
    int Set(std::uint32_t code, Ipv4Address address) {
        VnetxInterfaceRequest record{};
        PutIpv4(record, address);
        return Request(code, record);
    }
    int SetFlags(std::uint16_t flags) { return Set(VNETX_SIOCSIFFLAGS, std::uint32_t{flags}); }
    MacAddress AskMac(Ipv4Address address) { return vnxtest::AskMac(m_library, m_handle, address); }
    VnetxStatistics Statistics() {
        VnetxStatistics record{};
        record.length = sizeof record;
        EXPECT_EQ(m_library.GetStats(m_handle, &record), 0);
        return record;
    }

    // One read, whatever comes of it.
    std::int32_t TryRead() { return m_library.Read(m_handle, m_buffer.data(), 65535); }
    // The next frame; empty when none came in time.
    Bytes Read() {
        const std::int32_t length = TryRead();
        EXPECT_GE(length, 0) << std::strerror(errno);
        return Bytes(m_buffer.begin(), m_buffer.begin() + std::max(length, 0));
    }
    std::int32_t Write(std::span<const std::uint8_t> frame) {
        return m_library.Write(m_handle, frame.data(), static_cast<std::uint32_t>(frame.size()));
    }

    // An IP packet to its next hop; returns what the write returned.
    std::int32_t SendPacket(Ipv4Address destination, const Bytes& packet) {
        if (!m_options.tap) {
            return Write(packet);
        }
        const MacAddress mac = AskMac(destination);
        return Write(EthernetFrame(mac.IsZero() ? kSimGatewayMac : mac, Mac(), kEtherTypeIpv4, packet));
    }
    std::int32_t Ping(Ipv4Address destination, std::uint16_t sequence, std::size_t size = 32) {
        const Bytes data(size, static_cast<std::uint8_t>('a' + sequence % 26));
        const SimEcho echo{Ip(), destination, 0, kIcmpEchoRequest, kIdentifier, sequence, data};
        return SendPacket(destination, EchoPacket(echo, {.dontFragment = true}));
    }

    // The next IP packet. A TAP guest answers the ARP requests that come before it.
    Bytes ReadPacket() {
        while (true) {
            const Bytes frame = Read();
            if (frame.empty() || !m_options.tap) {
                return frame;
            }
            const auto header = ConstEthernetView::Over(frame);
            const Bytes payload(frame.begin() + EthernetView::kLength, frame.end());
            if (header->EtherType() == kEtherTypeIpv4) {
                EXPECT_EQ(header->Destination(), Mac());
                return payload;
            }
            const auto arp = ConstArpView::OverEthernetIpv4(payload);
            if (arp && arp->Operation() == ArpOperation::Request && arp->TargetProtocolAddress() == Ip()) {
                Write(ArpAnswer(Mac(), Ip(), arp->SenderHardwareAddress(), arp->SenderProtocolAddress()));
            }
        }
    }

    // Reads all that comes within one read time-out of each other: the sequence numbers of the replies that a
    // ping test could match, in order.
    std::vector<std::uint16_t> ReadReplies() {
        std::vector<std::uint16_t> order;
        for (Bytes packet = ReadPacket(); !packet.empty(); packet = ReadPacket()) {
            SimEcho echo;
            if (ParseSimEcho(packet, echo) == SimEchoCheck::Good && echo.type == kIcmpEchoReply &&
                echo.identifier == kIdentifier && echo.destination == Ip() &&
                packet.size() == SimEchoLength(echo) && packet[6] == 0) {
                order.push_back(echo.sequence);
            }
        }
        return order;
    }

    static constexpr std::uint16_t kIdentifier = 0x1234;

private:
    VnetxLibrary& m_library;
    const GuestOptions m_options;
    std::int32_t m_handle = -1;
    std::string m_name;
    Bytes m_buffer = Bytes(65535);
};

// The debug output of a library, from any thread.
struct DebugText {
    static void Collect(const char* text, ...) {
        const std::lock_guard lock(s_lock);
        s_text += text;
    }
    // What came since the last call.
    static std::string Take() {
        const std::lock_guard lock(s_lock);
        return std::exchange(s_text, {});
    }
    static inline std::mutex s_lock;
    static inline std::string s_text;
};

} // namespace vnxtest
