#include "core/output_channel.h"

#include <algorithm>
#include <chrono>
#include <ctime>

#include <fmt/format.h>

#include "platform/system/local_time.h"
#include "wrenlib/trace.h"

namespace vnxtest {

namespace {

constexpr std::size_t kStampLength = 13; // "hh:mm:ss.mmm "
// "hh:mm:ss.mmm " of now. Only the milliseconds change within a second, so the rest is kept per thread: the
// conversion to local time costs more than a whole line.
std::string_view TimeStamp() {
    using namespace std::chrono;
    struct Stamp {
        std::int64_t second = -1;
        char text[16] = {};
    };
    thread_local Stamp stamp;
    const std::int64_t now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::int64_t second = now / 1000;
    const auto put = [](char* at, int value) {
        at[0] = static_cast<char>('0' + value / 10);
        at[1] = static_cast<char>('0' + value % 10);
    };
    if (second != stamp.second) {
        const std::tm local = LocalTime(static_cast<std::time_t>(second));
        stamp.second = second;
        put(stamp.text, local.tm_hour);
        put(stamp.text + 3, local.tm_min);
        put(stamp.text + 6, local.tm_sec);
        stamp.text[2] = stamp.text[5] = ':';
        stamp.text[8] = '.';
        stamp.text[12] = ' ';
    }
    const int millisecond = static_cast<int>(now % 1000);
    stamp.text[9] = static_cast<char>('0' + millisecond / 100);
    put(stamp.text + 10, millisecond % 100);
    return {stamp.text, 13};
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// As StampLines, into any text that can be appended to.
template <typename Text>
void AppendStamped(std::string_view text, std::string_view stamp, Text& lines) {
    const auto append = [&lines](std::string_view part) {
        lines.append(part.data(), part.data() + part.size());
    };
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        append(stamp);
        append(text.substr(0, end));
        // Leading blanks are kept; trailing ones go, that of the stamp, too, if the line is empty.
        std::size_t size = lines.size();
        while (size > 0 && IsBlank(lines.data()[size - 1])) {
            --size;
        }
        lines.resize(size);
        lines.push_back('\n');
        if (end == std::string_view::npos) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

} // namespace

void StampLines(std::string_view text, std::string_view stamp, std::string& lines) {
    AppendStamped(text, stamp, lines);
}

OutputChannel::~OutputChannel() {
    Detach();
}

void OutputChannel::Attach() {
    InstallLogSink(*this);
}

void OutputChannel::Detach() {
    RemoveLogSink(*this);
}

void OutputChannel::TakeText(std::string_view text) {
    fmt::memory_buffer lines; // no allocation for a usual line
    AppendStamped(text, TimeStamp(), lines);
    Append({lines.data(), lines.size()});
}

void OutputChannel::Append(std::string_view lines) {
    if (lines.empty()) {
        return;
    }
    bool wasEmpty = false;
    {
        const std::lock_guard lock(m_outputLock);
        wasEmpty = m_pending.empty();
        if (m_leftOut == 0 && m_pending.size() + lines.size() <= kMostPending) {
            m_pending += lines;
        } else {
            m_firstLeftOut = m_leftOut == 0 ? lines.substr(0, kStampLength) : m_firstLeftOut;
            const auto count = static_cast<std::uint64_t>(std::ranges::count(lines, '\n'));
            m_leftOut += count;
            m_allLeftOut += count;
        }
    }
    if (wasEmpty) {
        m_view.PostViewMessage(ViewMessage::OutputPending);
    }
}

std::string OutputChannel::TakePending() {
    std::string taken;
    {
        const std::lock_guard lock(m_outputLock);
        taken.swap(m_pending);
        if (m_leftOut > 0) {
            taken += LeftOutMark(m_firstLeftOut, m_leftOut);
            m_leftOut = 0;
        }
    }
    if (IsTraceOn()) {
        m_trace.Hand(taken);
    }
    return taken;
}

std::uint64_t OutputChannel::LinesLeftOut() {
    const std::lock_guard lock(m_outputLock);
    return m_allLeftOut;
}

std::string LeftOutMark(std::string_view firstMissing, std::uint64_t count) {
    const std::string text = "** " + (count == 1 ? "1 line is" : std::to_string(count) + " lines are") +
                             " left out here, for nobody took them.";
    std::string mark;
    StampLines(text, firstMissing.substr(0, kStampLength), mark);
    return mark;
}

} // namespace vnxtest
