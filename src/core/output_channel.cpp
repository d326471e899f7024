#include "core/output_channel.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <optional>
#include <span>

#include "platform/system/local_time.h"
#include "wrenlib/trace.h"

namespace vnxtest {

namespace {

constexpr std::size_t kStampLength = 13; // "hh:mm:ss.mmm "
// Of the room kept for the lines to come.
constexpr std::size_t kMostReserved = std::size_t{1024} * 1024;

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

// As StampLines, into `room`: the bytes used, or nullopt if it is too small.
std::optional<std::size_t> StampInto(std::string_view text, std::string_view stamp, std::span<char> room) {
    char* out = room.data();
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        const auto left = static_cast<std::size_t>(room.data() + room.size() - out);
        if (left < stamp.size() + 1 || left - stamp.size() - 1 < line.size()) {
            return std::nullopt;
        }
        const char* const begin = out;
        std::memcpy(out, stamp.data(), stamp.size());
        std::memcpy(out + stamp.size(), line.data(), line.size());
        out += stamp.size() + line.size();
        // Leading blanks are kept; trailing ones go, that of the stamp, too, if the line is empty.
        while (out != begin && IsBlank(out[-1])) {
            --out;
        }
        *out++ = '\n';
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return static_cast<std::size_t>(out - room.data());
}

} // namespace

void StampLines(std::string_view text, std::string_view stamp, std::string& lines) {
    const std::size_t before = lines.size();
    const auto most = static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1;
    lines.resize(before + text.size() + most * (stamp.size() + 1));
    lines.resize(before + *StampInto(text, stamp, std::span(lines).subspan(before)));
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
    const std::string_view stamp = TimeStamp();
    std::array<char, 512> room; // no allocation for a usual line
    if (const auto length = StampInto(text, stamp, room)) {
        Append({room.data(), *length});
        return;
    }
    std::string lines;
    StampLines(text, stamp, lines);
    Append(lines);
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
    taken.reserve(m_takenLast); // for the lines to come, so that no thread with a frame grows the text
    {
        const std::lock_guard lock(m_outputLock);
        taken.swap(m_pending);
        if (m_leftOut > 0) {
            taken += LeftOutMark(m_firstLeftOut, m_leftOut);
            m_leftOut = 0;
        }
    }
    m_takenLast = std::min(taken.size(), kMostReserved);
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
