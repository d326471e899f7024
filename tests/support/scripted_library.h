// An interface library under a test's control: it delivers the frames the test queues, keeps what is
// written, records every request, and fails where it is told to. For faults and frames that no real
// library gives; everything else is tested on the real ones.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "vnetx/library.h"
#include "wrenlib/address.h"

namespace vnxtest {

using Frame = std::vector<std::uint8_t>;

class ScriptedLibrary : public VnetxLibrary {
public:
    struct Request {
        std::uint32_t code = 0;
        VnetxInterfaceRequest record{};
    };

    std::int32_t Open(const char* name, std::int32_t flags) override;
    void Close(std::int32_t handle) override;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override;
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override;
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override;
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override;
    std::uint16_t CalcInetChecksum(const void* bytes, std::uint32_t length) override;
    void BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) override;
    const char* GetDefaultIface() override { return defaultInterface.c_str(); }
    std::int32_t SetDebugOutputFunc(VnetxDebugOutput) override { return acceptCallback ? 1 : 0; }
    void VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                        std::int32_t* build) override;
    const char* VersionString() override { return "scripted"; }
    const char* CopyrightString() override { return ""; }
    std::wstring ModuleName() const override { return L"scripted"; }
    std::wstring ModulePath() const override { return {}; }

    void QueueFrame(Frame frame);
    std::vector<Frame> Written();
    bool IsOpen() const { return m_open; }

    // Set before use; errno of the failure by request code, and of the other calls.
    std::map<std::uint32_t, int> failRequests;
    int failOpen = 0;
    int failWrite = 0;
    int failRead = 0; // once the queue is empty
    bool acceptCallback = true;
    std::string interfaceName = "vnx0";
    // Called with every frame written, for libraries that answer; may queue frames.
    std::function<void(const Frame&)> onWrite;
    // The MAC and the address of every neighbour; none when empty. The first requests go unanswered.
    std::vector<std::uint8_t> neighbourMac;
    Ipv4Address neighbourIp;
    std::size_t silentArpRequests = 0;
    std::string defaultInterface;

    std::string openedName;
    std::int32_t openedFlags = 0;
    std::vector<Request> requests;
    std::vector<std::uint32_t> arpRequests;
    std::pair<std::int32_t, VnetxArpRequest> lastArp; // with its handle

private:
    std::mutex m_lock;
    std::condition_variable m_arrived;
    std::deque<Frame> m_frames;
    std::vector<Frame> m_written;
    bool m_open = false;
};

} // namespace vnxtest
