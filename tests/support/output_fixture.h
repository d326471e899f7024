// Collects what LogMsg writes, as a view would receive it.
#pragma once

#include <condition_variable>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/debug_output.h"
#include "core/interface_info.h"
#include "core/output_channel.h"
#include "support/scripted_library.h"

namespace vnxtest {

// A view whose user-interface thread is the test.
class TestView : public ViewPort {
public:
    void PostViewMessage(ViewMessage message) override {
        {
            const std::lock_guard lock(m_lock);
            m_messages.push_back(message);
        }
        m_posted.notify_all();
    }

    // The messages posted so far, and counts of one kind.
    int Count(ViewMessage message) {
        const std::lock_guard lock(m_lock);
        return static_cast<int>(std::count(m_messages.begin(), m_messages.end(), message));
    }
    bool WaitFor(ViewMessage message, int count = 1) {
        std::unique_lock lock(m_lock);
        return m_posted.wait_for(lock, std::chrono::seconds(20), [&] {
            return std::count(m_messages.begin(), m_messages.end(), message) >= count;
        });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_posted;
    std::vector<ViewMessage> m_messages;
};

class OutputFixture : public ::testing::Test {
protected:
    OutputFixture() {
        m_channel.Attach();
        RegisterDebugOutput(m_library);
    }
    ~OutputFixture() override { UnregisterDebugOutput(); }

    // Everything written since the last call, without the time stamps.
    std::string TakeText() {
        constexpr std::size_t kStamp = 13;
        std::string text;
        std::istringstream pending(m_channel.TakePending());
        for (std::string line; std::getline(pending, line);) {
            text += line.substr(std::min(line.size(), kStamp)) + '\n';
        }
        return text;
    }

    TestView m_view;
    OutputChannel m_channel{m_view};
    ScriptedLibrary m_library;
};

// The same with an interface as a monitor thread has opened it, in TUN mode.
class InterfaceFixture : public OutputFixture {
protected:
    InterfaceFixture() {
        m_info.open.Open(m_library, "10.1.2.3", VNETX_OPEN_READ_WRITE);
        m_info.open.SetName(L"vnx0");
        m_info.open.Publish();
        InterfaceAddresses& addresses = m_info.addresses;
        addresses.guestIp = Ipv4Address(10, 1, 2, 111);
        addresses.guestMac = MacAddress({2, 0, 0x5E, 0x81, 2, 0x6F});
        addresses.adapterIp = Ipv4Address(10, 1, 2, 3);
        addresses.adapterMac = MacAddress({2, 1, 1, 1, 1, 3});
        addresses.netMask = Ipv4Address(255, 255, 255, 0);
        addresses.adapterKnown = true;
    }
    INTERFACE_INFO m_info;
};

} // namespace vnxtest
