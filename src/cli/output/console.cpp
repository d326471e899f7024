#include "cli/output/console.h"

#include <cstdio>
#include <mutex>

#include "cli/output/background_writer.h"
#include "platform/process/terminal.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostWaiting = std::size_t{1024} * 1024;
// How long Complain() waits for its text to be written, so that it keeps its place among other output.
constexpr std::chrono::milliseconds kMoment = 50ms;

BackgroundWriter& ErrorWriter() {
    static BackgroundWriter writer({[](std::string_view text) {
                                       WriteAll(stderr, text); // there is nowhere to report a failure
                                       return std::wstring();
                                   }},
                                   nullptr, kMostWaiting);
    return writer;
}

std::mutex& ErrorWriterLock() {
    static std::mutex lock;
    return lock;
}

void Say(std::string text) {
    const std::lock_guard lock(ErrorWriterLock());
    BackgroundWriter& writer = ErrorWriter();
    const bool wasIdle = writer.IsIdle();
    const auto shared = std::make_shared<const std::string>(std::move(text));
    writer.Append(shared);
    if (!writer.Problem().empty()) {
        WriteAll(stderr, *shared); // there is no thread for it
    } else if (wasIdle) {
        writer.WaitUntilIdle(kMoment);
    }
}

} // namespace

void Complain(std::wstring_view text) {
    std::wstring lines(text);
    MakeLinesVisible(lines);
    std::string line = "vnxtest-cli: ";
    line += ToUtf8(lines);
    while (line.ends_with('\n')) {
        line.pop_back();
    }
    Say(line + '\n');
}

void AwaitComplaints(std::optional<std::chrono::milliseconds> limit) {
    do {
        ErrorWriter().WaitUntilIdle(limit.value_or(1h));
    } while (!limit && !ErrorWriter().IsIdle());
}

Progress::Progress() : m_on(IsTerminal(stderr) && !IsTerminal(stdout)) {}

void Progress::Show(const std::wstring& text) {
    if (!m_on || (text.empty() && m_shown == 0)) {
        return;
    }
    std::string line = "\r";
    line += ToUtf8(text);
    line.append(m_shown > text.size() ? m_shown - text.size() : 0, ' ');
    if (text.empty()) {
        line += '\r';
    }
    m_shown = text.size();
    Say(std::move(line));
}

} // namespace vnxtest
