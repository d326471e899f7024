// The document's way from the engine's channel to its destinations: takes the pending lines, hands them to
// the outputs, and tells of lines left out on the way. Main thread.
#pragma once

#include <chrono>
#include <string>

#include "cli/output/document_output.h"
#include "core/output_channel.h"

namespace vnxtest {

class DocumentFeed {
public:
    // The channel posts to `view`. `onEnd` is called on any thread when an output has failed or is finished.
    DocumentFeed(ViewPort& view, std::function<void()> onEnd);

    // From here on the channel takes the program's lines.
    void Attach() { m_channel.Attach(); }
    // Hands on the pending lines. The first missing lines are told on standard error.
    void Drain();
    // The same, a few milliseconds after the last time: batches lines that follow closely. Under a flood a
    // wake-up and a write for every line would cost more than the rest.
    void DrainGathered();

    DocumentOutput& Output() { return m_output; }
    // A sentence about lines left out while the main thread was blocked; empty if there were none.
    std::wstring LeftOutUnderWay();

private:
    bool LinesAreMissing();

    OutputChannel m_channel;
    DocumentOutput m_output;
    bool m_toldLeftOut = false;
    std::chrono::steady_clock::time_point m_lastDrain{};
};

} // namespace vnxtest
