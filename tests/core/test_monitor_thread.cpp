#include <cerrno>
#include <thread>

#include "core/monitor_thread.h"
#include "core/worker_thread.h"
#include "support/output_fixture.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

class CollectingHandler : public PacketHandler {
public:
    void HandleReceivedPacket(INTERFACE_INFO&, ReceivedPacket packet) override {
        // The headroom is the handler's to write to.
        packet.WithHeadroom()[0] = 0xEE;
        lengths.push_back(packet.Bytes().size());
        handled = lengths.size();
    }
    std::vector<std::size_t> lengths;
    std::atomic<std::size_t> handled{0};
};

class MonitorThreadTest : public OutputFixture {
protected:
    MonitorThreadTest() {
        m_info.guestIpText = L"10.1.2.111";
        m_info.guestMacText = L"02-00-5E-81-02-6F";
        m_info.adapterIpText = L"10.1.2.3";
    }
    MonitorContext Context() { return {m_info, m_library, m_settings, m_stopEvent, m_handler, m_view}; }

    INTERFACE_INFO m_info;
    RunSettings m_settings;
    WaitDomain m_domain;
    ManualResetEvent m_stopEvent{m_domain};
    CollectingHandler m_handler;
};

TEST_F(MonitorThreadTest, HandsFramesOnUntilStopped) {
    m_library.QueueFrame(Frame(1));
    m_library.QueueFrame(Frame(65535));
    WorkerThread thread;
    ASSERT_TRUE(thread.Start([&] { MonitorThread(Context()); }, m_view, ViewMessage::MonitorThreadEnded));
    EXPECT_TRUE(m_view.WaitFor(ViewMessage::InterfaceOpened));
    while (m_handler.handled < 2) {
        std::this_thread::yield();
    }
    m_stopEvent.Set();
    EXPECT_TRUE(m_view.WaitFor(ViewMessage::MonitorThreadEnded));
    EXPECT_TRUE(thread.HasEnded());
    thread.Join();
    EXPECT_FALSE(thread.HasEnded());
    EXPECT_EQ(m_handler.lengths, (std::vector<std::size_t>{1, 65535}));
    EXPECT_FALSE(m_library.IsOpen());
    EXPECT_EQ(TakeText().find("read failed"), std::string::npos);
}

TEST_F(MonitorThreadTest, ReportsAReadFailureWithItsErrnoThenStatistics) {
    m_library.QueueFrame(Frame(42));
    m_library.failRead = ENETDOWN;
    MonitorThread(Context());
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(m_handler.lengths, std::vector<std::size_t>{42});
    const std::string text = TakeText();
    const std::size_t failure = text.find("*** MonitorThread: interface vnx0 vnetx32_read failed; " +
                                          ToUtf8(Sprintf(L"errno=%d: %s\n", ENETDOWN, StrError(ENETDOWN))));
    ASSERT_NE(failure, std::string::npos) << text;
    EXPECT_GT(text.find("*** Statistics for Interface vnx0:\n"), failure);
}

} // namespace
} // namespace vnxtest
