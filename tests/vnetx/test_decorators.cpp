// The decorators around the library: injected faults, and captures that an analyser can read.

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "vnetx/capture_library.h"
#include "vnetx/fault_library.h"
#include "vnetx/sim.h"
#include "vnetx/sim_guest.h"
#include "vnetx/support_vnetx.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

namespace fs = std::filesystem;

TEST(Faults, StrikeTheChosenCallAndNoOther) {
    const auto lan = Lan();
    FaultLibrary faults(*lan);
    SimGuest guest(faults, {.timeout = 5});
    EXPECT_EQ(faults.OpenHandles(), std::set<std::int32_t>{guest.Handle()});
    EXPECT_EQ(faults.Calls(LibraryCall::Ioctl), 5u);
    EXPECT_EQ(faults.Requests(VNETX_TUNSETIFF), 1u);
    EXPECT_EQ(faults.Calls(), 6u);

    faults.Inject({.call = LibraryCall::Write, .number = 2, .errnoValue = ENOBUFS});
    EXPECT_GT(guest.Ping(kSimFirstEchoHost, 1), 0);
    errno = 0;
    EXPECT_EQ(guest.Ping(kSimFirstEchoHost, 2), -1);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_GT(guest.Ping(kSimFirstEchoHost, 3), 0);
    EXPECT_EQ(faults.Struck(), 1u);
    EXPECT_EQ(lan->Counters().echoRequests, 2u) << "the failed write did not reach the library";

    // The n-th call of all: two writes, one read, then the statistics.
    faults.Inject({.number = 4, .errnoValue = EINVAL});
    guest.Ping(kSimFirstEchoHost, 4);
    guest.Ping(kSimFirstEchoHost, 5);
    EXPECT_FALSE(guest.Read().empty());
    VnetxStatistics statistics{};
    statistics.length = sizeof statistics;
    EXPECT_EQ(faults.GetStats(guest.Handle(), &statistics), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(faults.GetStats(guest.Handle(), &statistics), 0);

    VnetxInterfaceRequest record{};
    faults.Inject({.request = VNETX_SIOCGIFADDR, .fromThenOn = true, .errnoValue = EPERM});
    EXPECT_EQ(faults.Ioctl(guest.Handle(), VNETX_SIOCGIFHWADDR, &record), 0);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(faults.Ioctl(guest.Handle(), VNETX_SIOCGIFADDR, &record), -1);
        EXPECT_EQ(errno, EPERM);
    }
    faults.InjectNothing();
    EXPECT_EQ(faults.Ioctl(guest.Handle(), VNETX_SIOCGIFADDR, &record), 0);

    // A failing close closes, and a short write says how much.
    faults.Inject({.call = LibraryCall::Write, .result = 3});
    EXPECT_EQ(guest.Ping(kSimFirstEchoHost, 6), 3);
    faults.Inject({.call = LibraryCall::Close});
    const std::int32_t handle = guest.Handle();
    guest.Close();
    EXPECT_TRUE(faults.OpenHandles().empty());
    EXPECT_LT(lan->GetStats(handle, &statistics), 0);
    faults.Inject({.call = LibraryCall::Open, .errnoValue = EACCES});
    EXPECT_EQ(faults.Open("198.18.0.1", VNETX_OPEN_READ_WRITE), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_TRUE(faults.OpenHandles().empty());
}

std::vector<std::uint32_t> Words(const Bytes& bytes, std::size_t offset, std::size_t count) {
    std::vector<std::uint32_t> words(count);
    EXPECT_LE(offset + count * 4, bytes.size());
    if (offset + count * 4 <= bytes.size()) {
        std::memcpy(words.data(), bytes.data() + offset, count * 4);
    }
    return words;
}

TEST(Captures, HoldTheFramesOfTheirLinkType) {
    const fs::path folder = fs::temp_directory_path() / UniqueName("vnxtest-capture");
    fs::create_directory(folder);
    const auto lan = Lan();
    std::wstring error;
    auto ethernet = CaptureLibrary::Create(*lan, folder / "tap.pcap", CaptureLink::Ethernet,
                                           CaptureStamps::Nanoseconds, error);
    ASSERT_TRUE(ethernet) << ToUtf8(error);
    auto raw = CaptureLibrary::Create(*ethernet, folder / "tun.pcap", CaptureLink::RawIp,
                                      CaptureStamps::Microseconds, error);
    ASSERT_TRUE(raw) << ToUtf8(error);
    {
        SimGuest tun(*raw, {});
        tun.Ping(kSimFirstEchoHost, 1, 8);
        EXPECT_EQ(tun.ReadPacket().size(), 36u);
        SimGuest tap(*raw, {.tap = true, .ip = kSecondGuest});
        tap.Ping(kSimFirstEchoHost, 1, 8);
        EXPECT_EQ(tap.ReadPacket().size(), 36u);
        EXPECT_EQ(raw->Frames(), 2u);
        EXPECT_EQ(ethernet->Frames(), 4u) << "request, ARP question and answer, reply";
    }
    EXPECT_TRUE(raw->IsSound() && ethernet->IsSound());
    raw.reset();
    ethernet.reset();
    const auto read = [&](const char* name) {
        std::ifstream file(folder / name, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(file), {});
    };
    const Bytes tun = read("tun.pcap");
    ASSERT_EQ(tun.size(), 24u + 2 * (16 + 36));
    EXPECT_EQ(Words(tun, 0, 1)[0], 0xA1B2C3D4u);
    EXPECT_EQ(Words(tun, 20, 1)[0], 101u);
    const auto record = Words(tun, 24, 4);
    EXPECT_GT(record[0], 1'600'000'000u);
    EXPECT_LT(record[1], 1'000'000u);
    EXPECT_EQ(record[2], 36u);
    EXPECT_EQ(record[3], 36u);
    EXPECT_EQ(tun[40], 0x45);
    EXPECT_EQ(tun[40 + 20], 8) << "the request stands before its reply";
    EXPECT_EQ(tun[40 + 52 + 20], 0);
    const Bytes tap = read("tap.pcap");
    ASSERT_EQ(tap.size(), 24u + 2 * (16 + 50) + 2 * (16 + 42));
    EXPECT_EQ(Words(tap, 0, 1)[0], 0xA1B23C4Du);
    EXPECT_EQ(Words(tap, 20, 1)[0], 1u);
    fs::remove_all(folder);
}

TEST(Captures, AFileThatCannotBeMadeIsNamed) {
    const auto lan = Lan();
    std::wstring error;
    const fs::path file = fs::temp_directory_path() / "no-such-folder" / "x.pcap";
    EXPECT_FALSE(CaptureLibrary::Create(*lan, file, CaptureLink::RawIp, CaptureStamps::Microseconds, error));
    EXPECT_NE(error.find(file.wstring()), std::wstring::npos);
}

} // namespace

} // namespace vnxtest
