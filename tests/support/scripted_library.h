// An interface library under a test's control: it keeps written packets, records every request, and fails
// on demand. For faults and bytes that no real library gives; everything else is tested on the real ones.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "packets/checksum.h"
#include "support/hex.h"
#include "vnetx/library.h"
#include "wrenlib/address.h"
#include "wrenlib/errors.h"

namespace vnxtest {

class ScriptedLibrary : public VnetxLibrary {
public:
    struct Request {
        std::uint32_t code = 0;
        VnetxInterfaceRequest record{};
    };

    std::int32_t Open(const char* name, std::int32_t flags) override {
        const std::lock_guard lock(m_lock);
        openedName = name;
        openedFlags = flags;
        m_open = failOpen == 0;
        return m_open ? kHandle : FailWith(failOpen);
    }
    void Close(std::int32_t) override {
        const std::lock_guard lock(m_lock);
        m_open = false;
        errno = EIO; // closing disturbs errno, as a real close may
    }
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        if (request == VNETX_SIOCGARP || request == VNETX_SIOCGRARP) {
            auto* const arp = static_cast<VnetxArpRequest*>(record);
            if (onArpRequest) {
                onArpRequest();
            }
            const std::lock_guard lock(m_lock);
            arpRequests.push_back(request);
            lastArp = {handle, *arp};
            if (neighbourMac.empty() || arpRequests.size() <= silentArpRequests) {
                return FailWith(ENXIO);
            }
            std::ranges::copy(neighbourMac, arp->hardwareAddress);
            if (request == VNETX_SIOCGRARP) {
                std::ranges::copy(neighbourIp.Bytes(), arp->protocolAddress);
            }
            return 0;
        }
        const std::lock_guard lock(m_lock);
        auto* const own = static_cast<VnetxInterfaceRequest*>(record);
        requests.push_back({request, *own});
        if (const auto failure = failRequests.find(request); failure != failRequests.end()) {
            return FailWith(failure->second);
        }
        if (request == VNETX_TUNSETIFF || request == VNETX_TUNSETIFF_OLD) {
            std::memcpy(own->name, interfaceName.c_str(), interfaceName.size() + 1);
        }
        if (request == VNETX_SIOCGIFHWADDR) {
            own->u.hardware = {hardwareFamily, {0x02, 0, 0, 0, 0, 9}, {}};
        }
        return 0;
    }
    std::int32_t Read(std::int32_t, void*, std::uint32_t) override { return FailWith(EIO); }
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override {
        if (handle != kHandle || failWrite != 0) {
            return FailWith(handle != kHandle ? EBADF : failWrite);
        }
        const auto* const bytes = static_cast<const std::uint8_t*>(frame);
        const std::lock_guard lock(m_lock);
        m_written.emplace_back(bytes, bytes + length);
        return static_cast<std::int32_t>(length);
    }
    std::int32_t GetStats(std::int32_t, VnetxStatistics* record) override {
        // The counters all different, in the record's order.
        *record = {record->length, 1048577, 65536, 4096, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
        return 0;
    }
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override {
        return InetChecksum({static_cast<const std::uint8_t*>(bytes), length});
    }
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override {
        const std::uint8_t built[6] = {0x02, 0x00, ip[0], ip[1], ip[2], ip[3]};
        std::ranges::copy(built, mac);
    }
    const char* GetDefaultIface() override { return defaultInterface.c_str(); }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput) override {
        ++callbacksSet;
        return acceptCallback ? 1 : 0;
    }
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override {
        *major = *minor = *release = *build = 1;
    }
    const char* VersionString() override { return "scripted"; }
    const char* CopyrightString() override { return ""; }
    std::wstring ModuleName() const override { return L"scripted"; }
    std::wstring ModulePath() const override { return {}; }

    std::vector<Frame> Written() {
        const std::lock_guard lock(m_lock);
        return m_written;
    }
    bool IsOpen() const { return m_open; }

    // Set before use; errno of the failure by request code, and of the other calls.
    std::map<std::uint32_t, int> failRequests;
    int failOpen = 0;
    int failWrite = 0;
    std::uint16_t hardwareFamily = VNETX_ARPHRD_ETHER; // of the MAC address it tells
    bool acceptCallback = true;
    int callbacksSet = 0;
    std::string interfaceName = "vnx0";
    // The MAC and the address of every neighbour; none when empty. The first requests go unanswered.
    std::vector<std::uint8_t> neighbourMac;
    Ipv4Address neighbourIp;
    std::size_t silentArpRequests = 0;
    std::function<void()> onArpRequest; // while one is under way
    std::string defaultInterface;

    std::string openedName;
    std::int32_t openedFlags = 0;
    std::vector<Request> requests;
    std::vector<std::uint32_t> arpRequests;
    std::pair<std::int32_t, VnetxArpRequest> lastArp; // with its handle

private:
    static constexpr std::int32_t kHandle = 3;

    static std::int32_t FailWith(int code) {
        SetLastError(static_cast<std::uint32_t>(code));
        errno = code;
        return -1;
    }

    std::mutex m_lock;
    std::vector<Frame> m_written;
    bool m_open = false;
};

} // namespace vnxtest
