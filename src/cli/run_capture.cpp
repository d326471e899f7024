#include "cli/run_capture.h"

#include <utility>

#include "cli/output/console.h"
#include "cli/output/file_clash.h"
#include "wrenlib/format.h"

namespace vnxtest {

std::wstring RunCapture::Open(const AtomicFile& output, const AtomicFile& json) {
    if (m_options.captureFile) {
        if (const auto opened = m_file.Open(*m_options.captureFile); !opened) {
            return L"The capture cannot be saved: " + opened.error().text +
                   L"\nName another file: --capture FILE.";
        }
        m_isOrdinary = m_file.IsOrdinary();
        return FindCaptureClash(m_file, *m_options.captureFile, {output, json, m_options.library});
    }
    if (m_options.captureToOutput) {
        if (const auto opened = m_file.OpenStandardOutput(); !opened) {
            return L"The capture cannot be written: " + opened.error().text;
        }
        m_isOrdinary = m_file.IsOrdinary();
        if (m_file.IsTerminal()) {
            return L"--capture -: standard output is a terminal, which cannot show a capture. Lead it into a program (for example | wireshark -k -i -) or name a file.";
        }
    }
    return {};
}

void RunCapture::Start(std::function<void()> onEnd) {
    if (m_file.IsOpen()) {
        m_engine.CaptureNextStart(std::move(m_file), std::move(onEnd));
    }
}

void RunCapture::TellProblem() {
    const auto counts = Counts();
    if (counts && !counts->problem.empty() && !std::exchange(m_told, true)) {
        Complain(counts->problem);
    }
}

std::wstring RunCapture::End(Interruption& interruption) {
    Await(interruption);
    TellProblem();
    if (const std::wstring note = Note(); !note.empty()) {
        Complain(note);
    }
    return Counts().value_or(CaptureCounts{}).problem;
}

void RunCapture::Await(Interruption& interruption) {
    constexpr std::chrono::milliseconds kForAReader(300);
    while (true) {
        const auto counts = Counts();
        if (!counts || !counts->hasBegun || counts->isOver) {
            return;
        }
        const bool limited = interruption.IsNoted() && !m_isOrdinary;
        const auto limit = limited ? std::optional(interruption.Since() + kForAReader) : std::nullopt;
        if (interruption.Wait(limit).event == TerminalEvent::TimedOut) {
            m_gaveUp = true;
            return;
        }
    }
}

std::wstring RunCapture::Note() const {
    const CaptureCounts counts = Counts().value_or(CaptureCounts{});
    if (m_gaveUp) {
        return L"note: the capture is not complete, for nobody reads it.";
    }
    if (counts.dropped == 0) {
        return {};
    }
    return Sprintf(
        L"note: %u frames are missing in the capture, which has %u, for it could not be written fast enough. The guest has had them all. The blocks after the gaps count them.",
        counts.dropped, counts.written);
}

} // namespace vnxtest
