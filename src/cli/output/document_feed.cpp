#include "cli/output/document_feed.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "cli/output/console.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {
constexpr std::chrono::milliseconds kGatherTime(5);
} // namespace

DocumentFeed::DocumentFeed(ViewPort& view, std::function<void()> onEnd)
    : m_channel(view), m_output(stdout, std::move(onEnd)) {}

void DocumentFeed::Drain() {
    m_output.Write(m_channel.TakePending());
    m_lastDrain = std::chrono::steady_clock::now();
    if (!m_toldLeftOut && LinesAreMissing()) {
        m_toldLeftOut = true;
        Complain(L"warning: the document is not taken as fast as it comes: lines are left out. The guest "
                 L"goes on.");
    }
}

void DocumentFeed::DrainGathered() {
    std::this_thread::sleep_until(m_lastDrain + kGatherTime);
    Drain();
}

bool DocumentFeed::LinesAreMissing() {
    const std::vector<BackgroundWriter*> writers = m_output.Writers();
    return m_channel.LinesLeftOut() > 0 ||
           std::ranges::any_of(writers, [](const auto* writer) { return writer->LinesLeftOut() > 0; });
}

std::wstring DocumentFeed::LeftOutUnderWay() {
    const std::uint64_t count = m_channel.LinesLeftOut();
    return count == 0
               ? std::wstring()
               : Sprintf(L"%u lines came faster than they could be taken, and are missing in the document.",
                         count);
}

} // namespace vnxtest
