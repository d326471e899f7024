// The capture of a run (--capture): its file, and what is to be said of it. Main thread.
#pragma once

#include <functional>
#include <string>

#include "cli/messages/interruption.h"
#include "cli/options/options.h"
#include "guest/engine.h"
#include "platform/files/atomic_file.h"
#include "platform/files/block_file.h"
#include "results/json_report.h"

namespace vnxtest {

class RunCapture {
public:
    RunCapture(const Options& options, Engine& engine) : m_options(options), m_engine(engine) {}

    // Opens the file, if one was asked for; it keeps its content until the guest starts. A sentence if it
    // cannot be used, or clashes with the open files of --output and --json or others; else empty.
    std::wstring Open(const AtomicFile& output, const AtomicFile& json);
    // Hands the file to the engine, which is open. `onEnd` posts a message, on any thread.
    void Start(std::function<void()> onEnd);
    // Tells why the capture has ended before its time, if it has, once.
    void TellProblem();
    // Waits for what is still to be written: for an ordinary file, and for a reader until an interrupt and
    // 300 ms more. Tells what the file lacks, and returns why it is not all that was asked for, told as well;
    // empty if nothing failed.
    std::wstring End(Interruption& interruption);

    // For the results of the run, after End(). Nullopt if none was asked for.
    std::optional<CaptureResult> Result() const;

private:
    // Nullopt if none was asked for.
    std::optional<CaptureCounts> Counts() const { return m_engine.Captured(); }
    void Await(Interruption& interruption);
    // A note about frames that the file lacks; empty if there are none.
    std::wstring Note() const;

    const Options& m_options;
    Engine& m_engine;
    BlockFile m_file;
    bool m_isOrdinary = false;
    bool m_gaveUp = false;
    bool m_told = false;
};

} // namespace vnxtest
