// The decorators around the library: injected faults, and captures that an analyser can read.

#include <fstream>

#include <gtest/gtest.h>

#include "vnetx/capture_library.h"
#include "vnetx/fault_library.h"
#include "vnetx/library_guest.h"
#include "vnetx/support_vnetx.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

TEST(Faults, StrikeTheChosenCallAndNoOther) {
    const auto lan = Lan();
    FaultLibrary faults(*lan);
    LibraryGuest guest(faults, {.timeout = 5});
    EXPECT_EQ(faults.OpenHandles(), std::set<std::int32_t>{guest.Handle()});
    EXPECT_EQ(faults.Calls(), 5u);
    EXPECT_EQ(faults.Requests(VNETX_TUNSETIFF), 1u);
    faults.Inject({.call = LibraryCall::Write, .number = 2, .errnoValue = ENOBUFS});
    for (const int code : {0, ENOBUFS, 0}) {
        EXPECT_EQ(ErrorOf(guest.Ping(kSimFirstEchoHost, 1)), code);
    }
    EXPECT_EQ(faults.Struck(), 1u);
    EXPECT_EQ(lan->Counters().echoRequests, 2u) << "the failed write did not reach the library";
    VnetxStatistics statistics{};
    statistics.length = sizeof statistics;
    faults.Inject({.number = 2, .errnoValue = EINVAL}); // of all calls: a read, then the statistics
    EXPECT_FALSE(guest.Read().empty());
    EXPECT_EQ(ErrorOf(faults.GetStats(guest.Handle(), &statistics)), EINVAL);
    EXPECT_EQ(faults.GetStats(guest.Handle(), &statistics), 0);
    faults.Inject({.request = VNETX_VNXSTIMEOUT, .fromThenOn = true, .errnoValue = EPERM});
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 5), EPERM);
    EXPECT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 5), EPERM);
    faults.Inject({.call = LibraryCall::Write, .result = 3}); // a short write
    EXPECT_EQ(guest.Ping(kSimFirstEchoHost, 6), 3);
    faults.InjectNothing();
    EXPECT_EQ(guest.Set(VNETX_VNXSTIMEOUT, 5), 0);

    faults.Inject({.call = LibraryCall::Close}); // a failing close closes
    const std::int32_t handle = guest.Handle();
    guest.Close();
    EXPECT_TRUE(faults.OpenHandles().empty());
    EXPECT_EQ(ErrorOf(lan->GetStats(handle, &statistics)), EBADF);
    faults.Inject({.call = LibraryCall::Open, .errnoValue = EACCES});
    EXPECT_EQ(ErrorOf(faults.Open("198.18.0.1", VNETX_OPEN_READ_WRITE)), EACCES);
    EXPECT_TRUE(faults.OpenHandles().empty());
}

// The words of a capture file's first 40 bytes: its header, and that of its first record.
using Words = std::array<std::uint32_t, 10>;

TEST(Captures, HoldTheFramesOfTheirLinkType) {
    const TemporaryFolder folder;
    const auto lan = Lan();
    std::wstring error;
    const auto create = [&](VnetxLibrary& inner, const char* name, CaptureLink link, CaptureStamps stamps) {
        return CaptureLibrary::Create(inner, folder.path / name, link, stamps, error);
    };
    EXPECT_FALSE(create(*lan, "nowhere/tap", CaptureLink::Ethernet, CaptureStamps::Nanoseconds));
    EXPECT_THAT(error, HasSubstr((folder.path / "nowhere/tap").wstring()));
    {
        auto ethernet = create(*lan, "tap", CaptureLink::Ethernet, CaptureStamps::Nanoseconds);
        ASSERT_TRUE(ethernet) << ToUtf8(error);
        auto raw = create(*ethernet, "tun", CaptureLink::RawIp, CaptureStamps::Microseconds);
        ASSERT_TRUE(raw) << ToUtf8(error);
        for (const bool tap : {false, true}) {
            LibraryGuest guest(*raw, {.tap = tap});
            guest.Ping(kSimFirstEchoHost, 1, 8);
            EXPECT_EQ(guest.ReadPacket().size(), 36u);
        }
        EXPECT_EQ(raw->Frames(), 2u);
        EXPECT_EQ(ethernet->Frames(), 4u) << "request, ARP question and answer, reply";
        EXPECT_TRUE(raw->IsSound() && ethernet->IsSound());
    }
    const auto read = [&](const char* name, Words& words) {
        std::ifstream file(folder.path / name, std::ios::binary);
        const Bytes bytes(std::istreambuf_iterator<char>(file), {});
        std::memcpy(words.data(), bytes.data(), std::min(bytes.size(), sizeof words));
        return bytes;
    };
    Words words{};
    const Bytes tun = read("tun", words);
    ASSERT_EQ(tun.size(), 24u + 2 * (16 + 36));
    EXPECT_EQ(words[0], 0xA1B2C3D4u);
    EXPECT_EQ(words[5], 101u);
    EXPECT_GT(words[6], 1'600'000'000u);
    EXPECT_LT(words[7], 1'000'000u);
    EXPECT_EQ(words[8], 36u);
    EXPECT_EQ(words[9], 36u);
    EXPECT_EQ(tun[40], 0x45);
    EXPECT_EQ(tun[40 + 20], 8) << "the request stands before its reply";
    EXPECT_EQ(tun[40 + 52 + 20], 0);
    EXPECT_EQ(read("tap", words).size(), 24u + 2 * (16 + 50) + 2 * (16 + 42));
    EXPECT_EQ(words[0], 0xA1B23C4Du);
    EXPECT_EQ(words[5], 1u);
}

} // namespace
} // namespace vnxtest
