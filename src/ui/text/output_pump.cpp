#include "ui/text/output_pump.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include <wx/app.h>

namespace vnxtest {

namespace {

constexpr std::size_t kSlice = std::size_t{64} * 1024;
// The longest stretch of work without events: well below what a user notices.
constexpr std::chrono::milliseconds kStretch(5);

} // namespace

OutputPump::OutputPump(OutputChannel& channel, COutputText& text, std::function<void()> appended)
    : m_channel(channel), m_text(text), m_appended(std::move(appended)) {
    m_text.Bind(wxEVT_IDLE, &OutputPump::OnIdle, this);
}

OutputPump::~OutputPump() {
    m_text.Unbind(wxEVT_IDLE, &OutputPump::OnIdle, this);
}

void OutputPump::OnOutputPending() {
    m_pending = true;
    wxWakeUpIdle();
}

// One batch may exceed the room of the control, so that the control learns that it is full.
void OutputPump::TakeBatch() {
    std::string batch = m_channel.TakePending();
    if (m_waiting <= m_text.Room()) {
        m_waiting += batch.size();
        m_backlog.push_back(std::move(batch));
    }
}

bool OutputPump::AppendSlice(std::size_t largest) {
    // Taken even with a backlog: appending to a long text in the channel takes long under its lock.
    if (std::exchange(m_pending, false)) {
        TakeBatch();
    }
    while (!m_backlog.empty() && m_backlogAt == m_backlog.front().size()) {
        m_backlog.pop_front();
        m_backlogAt = 0;
    }
    if (m_backlog.empty()) {
        return false;
    }
    std::string_view slice = std::string_view(m_backlog.front()).substr(m_backlogAt);
    if (slice.size() > largest) {
        std::size_t lineEnd = slice.rfind('\n', largest - 1);
        lineEnd = lineEnd == std::string_view::npos ? slice.find('\n', largest) : lineEnd;
        slice = slice.substr(0, lineEnd == std::string_view::npos ? lineEnd : lineEnd + 1);
    }
    m_backlogAt += slice.size();
    m_waiting -= slice.size();
    if (m_text.AppendLines(slice)) {
        m_appended();
    }
    return true;
}

void OutputPump::OnIdle(wxIdleEvent& event) {
    event.Skip();
    const auto end = std::chrono::steady_clock::now() + kStretch;
    while (AppendSlice(kSlice)) {
        if (std::chrono::steady_clock::now() >= end) {
            break;
        }
    }
    if (m_pending || !m_backlog.empty()) {
        event.RequestMore();
    }
}

void OutputPump::Flush() {
    m_pending = true;
    while (AppendSlice(std::string::npos)) {
        m_pending = true;
    }
    m_pending = false;
}

void OutputPump::Drop() {
    m_channel.TakePending();
    m_pending = false;
    m_backlog.clear();
    m_backlogAt = 0;
    m_waiting = 0;
}

} // namespace vnxtest
