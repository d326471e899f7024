#include "cli/output/console.h"

#include <cstdio>
#include <mutex>

#include "cli/output/background_writer.h"
#include "cli/output/live_line.h"
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
                                       // there is nowhere to report a failure
                                       WriteAroundLiveLine(stderr, text);
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
        WriteAroundLiveLine(stderr, *shared); // there is no thread for it
    } else if (wasIdle) {
        writer.WaitUntilIdle(kMoment);
    }
}

// With the program's name, without a line end.
std::string MessageOf(std::wstring_view text) {
    std::wstring lines(text);
    MakeLinesVisible(lines);
    std::string message = "vnxtest-cli: " + ToUtf8(lines);
    while (message.ends_with('\n')) {
        message.pop_back();
    }
    return message;
}

} // namespace

void Complain(std::wstring_view text) {
    Say(MessageOf(text) + '\n');
}

void TellVerdict(std::wstring_view text, Verdict verdict) {
    static constexpr const char* kGreen = "\x1b[32m";
    static constexpr const char* kRed = "\x1b[31m";
    static constexpr const char* kUsual = "\x1b[0m";
    const std::string message = MessageOf(text);
    if (MayColour(stderr)) {
        Say((verdict == Verdict::Good ? kGreen : kRed) + message + kUsual + '\n');
    } else {
        Say(message + '\n');
    }
}

void RewriteLiveLine() {
    const std::lock_guard lock(ErrorWriterLock());
    if (ErrorWriter().IsIdle()) {
        ErrorWriter().Append(std::make_shared<const std::string>(kRewriteLiveLine));
    }
}

void AwaitComplaints(std::optional<std::chrono::milliseconds> limit) {
    do {
        ErrorWriter().WaitUntilIdle(limit.value_or(1h));
    } while (!limit && !ErrorWriter().IsIdle());
}

} // namespace vnxtest
