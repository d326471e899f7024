// What the tests of the library room share: what the build supplies, and a guest that a test drives
// through the contract, whatever the library behind it.
#pragma once

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <future>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vnetx/library.h"
#include "vnetx/wire_format.h"

namespace vnxtest {

// Where the test program and the shared libraries lie.
inline const char* const kProgramFolder = VNXTEST_PROGRAM_FOLDER;
inline const wchar_t* const kSharedLibraryName = L"" VNXTEST_SHARED_LIBRARY;
inline const wchar_t* const kLackingLibraryName = L"" VNXTEST_LACKING_LIBRARY;

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// True when a call failed with this errno.
inline bool Fails(std::int64_t result, int code) {
    return result == -1 && errno == code;
}

// What the library said by its debug output since the last SetDebugOutputFunc(&TakeDebug).
inline std::string g_debugText;
inline void TakeDebug(const char* text, ...) {
    g_debugText += text;
}

struct GuestOptions {
    bool tap = false;
    Ipv4Address ip{198, 18, 0, 111};
    bool socketNotify = false;
    std::uint32_t timeout = 250;
};

class GuestHandle {
public:
    explicit GuestHandle(VnetxLibrary& library) : m_library(library) {}
    GuestHandle(const GuestHandle&) = delete;
    ~GuestHandle() { Close(); }

    // Opened as the program opens its interfaces, but not up yet; false when that failed (errno).
    bool Open(const char* adapter, const GuestOptions& options) {
        handle = m_library.Open(adapter, VNETX_OPEN_READ_WRITE |
                                             (options.socketNotify ? VNETX_OPEN_SOCKET_NOTIFY : 0));
        return handle >= 0 && SetMode((options.tap ? VNETX_IFF_TAP : VNETX_IFF_TUN) | VNETX_IFF_NO_PI) == 0 &&
               SetAddress(VNETX_SIOCSIFDSTADDR, options.ip) == 0 &&
               SetValue(VNETX_VNXSTIMEOUT, options.timeout) == 0;
    }
    bool Up() { return SetFlags(VNETX_IFF_UP) == 0; }
    void Close() {
        if (handle >= 0) {
            m_library.Close(std::exchange(handle, -1));
        }
    }

    int Ioctl(std::uint32_t code, VnetxInterfaceRequest& request) {
        std::memcpy(request.name, name.data(), name.size());
        return m_library.Ioctl(handle, code, &request);
    }
    int SetFlags(int flags, std::uint32_t code = VNETX_SIOCSIFFLAGS) {
        VnetxInterfaceRequest request{};
        request.u.flags = static_cast<std::uint16_t>(flags);
        const int result = Ioctl(code, request);
        name = request.name;
        return result;
    }
    int SetMode(int flags) { return SetFlags(flags, VNETX_TUNSETIFF); }
    int SetValue(std::uint32_t code, std::uint32_t value) {
        VnetxInterfaceRequest request{};
        request.u.value = value;
        return Ioctl(code, request);
    }
    int SetAddress(std::uint32_t code, Ipv4Address address) {
        VnetxInterfaceRequest request{};
        request.u.inet.family = VNETX_AF_INET;
        StoreIpv4(request.u.inet.address, address);
        return Ioctl(code, request);
    }
    MacAddress Mac() {
        VnetxInterfaceRequest request{};
        return Ioctl(VNETX_SIOCGIFHWADDR, request) == 0 ? LoadMac(request.u.hardware.mac) : MacAddress();
    }
    // The neighbour's MAC, and the address of one, or the adapter's own on a handle that is not open;
    // zero when there is none.
    MacAddress Arp(Ipv4Address ip) { return LoadMac(Query(VNETX_SIOCGARP, ip, {}).hardwareAddress); }
    Ipv4Address ReverseArp(MacAddress mac) {
        return LoadIpv4(Query(VNETX_SIOCGRARP, {}, mac).protocolAddress);
    }
    VnetxArpRequest Query(std::uint32_t code, Ipv4Address address, MacAddress mac) {
        VnetxArpRequest request{};
        request.protocolFamily = VNETX_AF_INET;
        StoreIpv4(request.protocolAddress, address);
        StoreMac(request.hardwareAddress, mac);
        return m_library.Ioctl(handle, code, &request) == 0 ? request : VnetxArpRequest{};
    }
    VnetxStatistics Statistics() {
        VnetxStatistics record{};
        record.length = sizeof record;
        return m_library.GetStats(handle, &record) == 0 ? record : VnetxStatistics{};
    }
    // One read: its length or -1; the bytes are in `frame`.
    std::int32_t Read() {
        frame.resize(65535);
        const std::int32_t got = m_library.Read(handle, frame.data(), 65535);
        frame.resize(static_cast<std::size_t>(std::max(got, 0)));
        return got;
    }
    std::int32_t Write(std::span<const std::uint8_t> bytes) {
        return m_library.Write(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }

    // Closes the handle while another thread waits in a read without a time-out: that read must end,
    // soon, with EBADF.
    void ExpectCloseEndsARead() {
        ASSERT_EQ(SetValue(VNETX_VNXSTIMEOUT, 0), 0);
        auto reader = std::async(std::launch::async, [this, open = handle] {
            std::uint8_t buffer[2048];
            while (m_library.Read(open, buffer, sizeof buffer) >= 0) {
            }
            return errno;
        });
        EXPECT_EQ(reader.wait_for(300ms), std::future_status::timeout) << "no time-out: it waits";
        Close();
        EXPECT_EQ(reader.wait_for(500ms), std::future_status::ready);
        EXPECT_EQ(reader.get(), EBADF);
    }

    std::int32_t handle = -1;
    std::string name;
    Bytes frame;

protected:
    VnetxLibrary& m_library;
};

} // namespace vnxtest
