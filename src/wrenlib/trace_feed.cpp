#include "wrenlib/trace_feed.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

#include "wrenlib/text.h"
#include "wrenlib/trace.h"

namespace vnxtest {

namespace {

// The most bytes that a reader of the system's debug output takes at once.
constexpr std::size_t kPiece = 3000;
constexpr std::chrono::seconds kLastWords(1);

// Up to `kPiece` bytes of whole lines, one line at least.
std::string_view FirstPiece(std::string_view lines) {
    if (lines.size() <= kPiece) {
        return lines;
    }
    std::size_t end = lines.rfind('\n', kPiece - 1);
    end = end == std::string_view::npos ? lines.find('\n', kPiece) : end;
    return lines.substr(0, end == std::string_view::npos ? end : end + 1);
}

} // namespace

TraceFeed::~TraceFeed() {
    {
        const std::lock_guard lock(m_lock);
        m_ending = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void TraceFeed::Hand(std::string_view lines) {
    const auto leaveOut = [&] {
        m_leftOut += static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
    };
    {
        const std::lock_guard lock(m_lock);
        if (m_waiting.size() + lines.size() > kMostWaiting) {
            leaveOut();
            return;
        }
        if (m_leftOut != 0) {
            m_waiting +=
                "** " + std::to_string(std::exchange(m_leftOut, 0)) + " lines were left out of the trace\n";
        }
        m_waiting += lines;
    }
    m_wake.notify_one();
    if (!m_thread.joinable()) {
        try {
            m_thread = std::thread(&TraceFeed::Run, this);
        } catch (const std::system_error&) {
            const std::lock_guard lock(m_lock);
            m_waiting.clear();
            leaveOut();
        }
    }
}

void TraceFeed::Run() {
    std::optional<std::chrono::steady_clock::time_point> end;
    std::unique_lock lock(m_lock);
    while (true) {
        m_wake.wait(lock, [this] { return !m_waiting.empty() || m_ending; });
        if (m_waiting.empty()) {
            return;
        }
        const std::string lines = std::exchange(m_waiting, {});
        for (std::string_view rest = lines; !rest.empty();) {
            lock.unlock();
            const std::string_view piece = FirstPiece(rest);
            WrenLibAfxTrace(L"%s", FromUtf8(piece));
            rest.remove_prefix(piece.size());
            lock.lock();
            if (m_ending) {
                const auto now = std::chrono::steady_clock::now();
                end = end.value_or(now + kLastWords);
                if (now >= *end) {
                    return;
                }
            }
        }
    }
}

} // namespace vnxtest
