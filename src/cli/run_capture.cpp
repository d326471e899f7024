#include "cli/run_capture.h"

#include <utility>

#include "cli/output/console.h"
#include "cli/output/file_clash.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

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

std::optional<CaptureResult> RunCapture::Result() const {
    if (!m_options.captureFile && !m_options.captureToOutput) {
        return std::nullopt;
    }
    const std::u8string name = m_options.captureFile ? m_options.captureFile->u8string() : u8"-";
    const CaptureCounts counts = Counts().value_or(CaptureCounts{});
    return CaptureResult{FromUtf8(std::string(name.begin(), name.end())), counts.written, counts.dropped,
                         counts.isOver && counts.problem.empty()};
}

void RunCapture::Await(Interruption& interruption) {
    constexpr std::chrono::milliseconds kForAReader(300);
    constexpr std::chrono::seconds kUntilToldOf(2);
    auto tellAt =
        m_isOrdinary ? std::nullopt : std::optional(std::chrono::steady_clock::now() + kUntilToldOf);
    while (true) {
        const auto counts = Counts();
        if (!counts || !counts->hasBegun || counts->isOver) {
            return;
        }
        const bool limited = interruption.IsNoted() && !m_isOrdinary;
        const auto limit = limited ? std::optional(interruption.Since() + kForAReader) : tellAt;
        if (interruption.Wait(limit).event != TerminalEvent::TimedOut) {
            continue;
        }
        if (limited) {
            m_gaveUp = true;
            return;
        }
        Complain(L"note: waiting until the capture is read; an interrupt (Ctrl+C) ends it as it is.");
        tellAt.reset();
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
