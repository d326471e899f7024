// The message output channel: all text of the document passes it.
//
// It takes the lines of LogMsg and of the interface library (wrenlib/log.h, core/debug_output.h): each is
// stamped with the time and queued, and OutputPending is posted if the queue was empty. The user-interface
// thread takes the whole queue at once. The queue holds UTF-8, which is what is shown and saved, so that a
// line is converted once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "core/view_port.h"
#include "wrenlib/log.h"
#include "wrenlib/trace_feed.h"

namespace vnxtest {

// The queue of finished lines of one view. Each line carries its time stamp and ends in one "\n".
class OutputChannel final : public LogSink {
public:
    explicit OutputChannel(ViewPort& view) : m_view(view) {}
    OutputChannel(const OutputChannel&) = delete;
    OutputChannel& operator=(const OutputChannel&) = delete;
    ~OutputChannel() override;

    // Attach() installs this as the log's sink. User-interface thread. Another one may be attached only
    // after this one was detached or destroyed.
    void Attach();
    void Detach();

    // Stamps and splits the text on the caller's thread, outside the lock, and appends it. Any thread.
    void TakeText(std::string_view text) override;

    // Appends finished lines (UTF-8) and posts OutputPending, without the lock, if the queue was empty. Any
    // thread. The lock is held for one append only. The queue is bounded: beyond kMostPending bytes lines
    // are left out until the next TakePending.
    void Append(std::string_view lines);

    // Takes every pending line, in order, as one UTF-8 text, and leaves the queue empty. Also hands the
    // lines to the debug trace. One line replaces those that were left out. User-interface thread, on
    // OutputPending.
    std::string TakePending();

    // Lines that were left out so far.
    std::uint64_t LinesLeftOut();

    static constexpr std::size_t kMostPending = std::size_t{32} * 1024 * 1024;

private:
    ViewPort& m_view;
    std::mutex m_outputLock;
    // All lines in one text: a line is appended without an allocation of its own.
    std::string m_pending;
    std::uint64_t m_leftOut = 0; // since the last TakePending
    std::uint64_t m_allLeftOut = 0;
    std::string m_firstLeftOut;  // its beginning
    std::size_t m_takenLast = 0; // bytes; user-interface thread
    TraceFeed m_trace;
};

// The line in place of `count` missing ones, with the time stamp of the first of them, `firstMissing`.
std::string LeftOutMark(std::string_view firstMissing, std::uint64_t count);

// Splits `text` (UTF-8) into lines, each stamped with `stamp` ("hh:mm:ss.mmm "), without trailing blanks
// and ended by one "\n", and appends them to `lines`. An empty line becomes the stamp without its trailing
// blank. Any thread.
void StampLines(std::string_view text, std::string_view stamp, std::string& lines);

} // namespace vnxtest
