// Collects what LogMsg writes, as a view would receive it.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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
        const std::string pending = m_channel.TakePending();
        for (std::size_t at = 0; at < pending.size();) {
            const std::size_t end = pending.find('\n', at);
            const std::string line = pending.substr(at, end - at);
            text += line.size() > kStamp ? line.substr(kStamp) : std::string();
            text += '\n';
            at = end + 1;
        }
        return text;
    }

    TestView m_view;
    OutputChannel m_channel{m_view};
    ScriptedLibrary m_library;
};

} // namespace vnxtest
