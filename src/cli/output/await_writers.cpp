#include "cli/output/await_writers.h"

#include <utility>

#include "cli/output/document_output.h"

#include <algorithm>

namespace vnxtest {

void AwaitWriters(const std::vector<BackgroundWriter*>& writers, Interruption& interruption) {
    constexpr std::chrono::milliseconds kForAll(300);
    constexpr std::chrono::milliseconds kAtLeast(100);
    constexpr std::chrono::milliseconds kForTheEnd(150);
    const Interruption::Moment earliest = std::chrono::steady_clock::now() + kAtLeast;
    Interruption::Moment end = earliest;
    bool skipped = false;
    const auto isUnderWay = [](const auto* writer) { return !writer->IsDone(); };
    const auto mayStayForEver = [](const auto* writer) { return !writer->IsDone() && !writer->IsPatient(); };
    while (std::ranges::any_of(writers, isUnderWay)) {
        const bool limited = interruption.IsNoted() && std::ranges::any_of(writers, mayStayForEver);
        if (limited && !skipped) {
            end = std::max(earliest, interruption.Since() + kForAll);
        }
        const TerminalEvent event = interruption.Wait(limited ? std::optional(end) : std::nullopt).event;
        for (BackgroundWriter* const writer : writers) {
            if (event == TerminalEvent::TimedOut && mayStayForEver(writer)) {
                skipped ? writer->GiveUp() : writer->SkipToLastLines();
            }
        }
        if (event == TerminalEvent::TimedOut) {
            skipped = true;
            end += kForTheEnd;
        }
    }
}

std::wstring WriteWhole(const std::shared_ptr<AtomicFile>& file, std::string text, const std::wstring& what,
                        Interruption& interruption, std::function<void()> onEnd) {
    BackgroundWriter writer(WriteTo(file, what), std::move(onEnd));
    writer.Append(std::make_shared<const std::string>(std::move(text)));
    writer.Close();
    AwaitWriters({&writer}, interruption);
    if (writer.Problem().empty() && writer.LinesLeftOut() > 0) {
        return what + L"nobody reads them.";
    }
    return writer.Problem();
}

} // namespace vnxtest
