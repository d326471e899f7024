// The requests of the contract, which every built-in library decodes the same way; here on the simulated LAN.

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"

namespace vnxtest {
namespace {

TEST(Requests, WrongOnesAreRefused) {
    const auto lan = Lan();
    EXPECT_EQ(ErrorOf(lan->Open("198.18.0.2", VNETX_OPEN_READ_WRITE)), ENODEV);
    EXPECT_EQ(ErrorOf(lan->Open(nullptr, VNETX_OPEN_READ_WRITE)), EINVAL);
    EXPECT_EQ(ErrorOf(lan->Open("198.18.0.1", 0)), EINVAL);
    VnetxInterfaceRequest record{};
    for (const std::int32_t handle : {-1, 12345}) {
        EXPECT_EQ(ErrorOf(lan->Ioctl(handle, VNETX_TUNSETIFF, &record)), EBADF);
        EXPECT_EQ(ErrorOf(lan->Read(handle, &record, sizeof record)), EBADF);
        EXPECT_EQ(ErrorOf(lan->Write(handle, &record, sizeof record)), EBADF);
    }
    // Nothing is set without a mode, and there is one mode in a handle's life.
    const std::int32_t handle = lan->Open("02:56:4e:12:00:01", VNETX_OPEN_READ_WRITE);
    const auto request = [&](std::uint32_t code, int flags) {
        record.u.flags = static_cast<std::uint16_t>(flags);
        return ErrorOf(lan->Ioctl(handle, code, &record));
    };
    EXPECT_EQ(request(VNETX_SIOCSIFFLAGS, VNETX_IFF_UP), ENODEV);
    EXPECT_EQ(request(VNETX_TUNSETIFF, 0x1003), EINVAL) << "both modes";
    ASSERT_EQ(request(VNETX_TUNSETIFF_OLD, VNETX_IFF_TAP | VNETX_IFF_NO_PI), 0);
    EXPECT_EQ(request(VNETX_TUNSETIFF, VNETX_IFF_TAP | VNETX_IFF_NO_PI), EINVAL);
    EXPECT_EQ(request(VNETX_SIOCSIFFLAGS, VNETX_IFF_UP), EADDRNOTAVAIL) << "no guest address and no MAC";
    EXPECT_EQ(request(VNETX_SIOCGIFHWADDR, 0), EADDRNOTAVAIL);
    record.name[0] = 'x';
    EXPECT_EQ(request(VNETX_SIOCGIFADDR, 0), ENODEV) << "another's name";
    EXPECT_EQ(ErrorOf(lan->Ioctl(handle, VNETX_SIOCSIFMTU, nullptr)), EINVAL);
    VnetxStatistics statistics{};
    EXPECT_EQ(ErrorOf(lan->GetStats(handle, &statistics)), EINVAL) << "its length was not set";
}

TEST(Requests, WhatIsSetHoldsAndIsNotChangedUnderTheFrames) {
    const auto lan = Lan();
    LibraryGuest guest(*lan, {.tap = true, .up = false});
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFADDR, 10), EAFNOSUPPORT);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 0, 255, 0)), EINVAL);
    using Refused = std::pair<std::uint32_t, std::uint32_t>;
    for (const auto& [code, value] : {Refused{VNETX_SIOCSIFMTU, 45},
                                      {VNETX_SIOCSIFMTU, 1501},
                                      {VNETX_VNXSDEVBUFF, (1u << 30) + 1},
                                      {VNETX_VNXSIOBUFF, (1u << 26) + 1},
                                      {VNETX_VNXSTIMEOUT, 0x80000000},
                                      {0x8999, 1}}) {
        EXPECT_EQ(guest.Set(code, value), EINVAL) << std::hex << code << ' ' << value;
    }
    VnetxInterfaceRequest record{};
    EXPECT_EQ(guest.Request(VNETX_SIOCGIFADDR, record), 0);
    EXPECT_EQ(Ipv4In(record), kSimAdapterIp) << "the adapter's, as none was set";
    const auto guestMac = [&] {
        EXPECT_EQ(guest.Request(VNETX_SIOCGIFHWADDR, record), 0);
        return MacIn(record);
    };
    const auto setMac = [&](MacAddress mac, std::uint16_t family = VNETX_ARPHRD_ETHER) {
        PutMac(record, mac);
        record.u.hardware.family = family;
        return guest.Request(VNETX_SIOCSIFHWADDR, record);
    };
    constexpr MacAddress kMac({2, 0, 0, 0, 0, 0x77});
    EXPECT_EQ(guestMac(), guest.Mac()) << "it follows from the address";
    EXPECT_EQ(setMac(MacAddress({1, 0, 0, 0, 0, 0x77})), EADDRNOTAVAIL) << "a group's";
    EXPECT_EQ(setMac(kMac, VNETX_AF_INET), EINVAL) << "of another family";
    EXPECT_EQ(setMac(kMac), 0);
    EXPECT_EQ(guestMac(), kMac);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1000), 0);
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(60))), ENETDOWN);
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(1015))), EMSGSIZE);
    EXPECT_EQ(guest.Write(Bytes(1014)), 1014);
    EXPECT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1000), EBUSY);
    EXPECT_EQ(setMac(kMac), EBUSY);
    EXPECT_EQ(guest.SetFlags(0), 0);
    EXPECT_EQ(ErrorOf(guest.TryRead()), ENETDOWN);
}

TEST(Requests, DebugOutputFollowsTheFlags) {
    const auto lan = Lan();
    ASSERT_NE(lan->SetDebugOutputFunc(&DebugText::Collect), 0);
    LibraryGuest guest(*lan, {});
    // What is shown of a ping and its reply.
    const auto ping = [&](std::uint32_t flags) {
        EXPECT_EQ(guest.Set(VNETX_TUNSETDEBUG, flags), 0);
        DebugText::Take();
        guest.Ping(kSimFirstEchoHost, 1);
        EXPECT_FALSE(guest.Read().empty());
        return DebugText::Take();
    };
    EXPECT_EQ(ping(0xFFFFFFFF), "") << "nothing without the debug flag of the interface";
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG), 0);
    EXPECT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 300), 0);
    EXPECT_THAT(DebugText::Take(), HasSubstr("VNXSTIMEOUT: old 250, new 300"));
    EXPECT_THAT(ping(VNETX_DEBUG_OTHER_READ),
                AllOf(HasSubstr("74 bytes read"), Not(HasSubstr("written")), Not(HasSubstr(" 62 62 "))));
    EXPECT_THAT(ping(VNETX_DEBUG_OTHER_WRITTEN | VNETX_DEBUG_PACKET_CONTENTS),
                AllOf(HasSubstr("74 bytes written"), HasSubstr(" 62 62 "), Not(HasSubstr("read"))));
    lan->SetDebugOutputFunc(nullptr);
    EXPECT_EQ(ping(0xFFFFFFFF), "");
}

} // namespace
} // namespace vnxtest
