// Moves the pending text of the output channel into the control without blocking the window.
//
// A batch is appended in slices that end at line ends, for a few milliseconds at a time; keys, clicks and
// drawing come between. Order is kept and no line is lost until the control is full; text beyond that is
// dropped. User-interface thread.
#pragma once

#include <deque>
#include <functional>
#include <string>

#include <wx/event.h>

#include "core/output_channel.h"
#include "ui/text/output_text.h"

namespace vnxtest {

class OutputPump {
public:
    // Calls `appended` after each append. `channel` and `text` must outlive this.
    OutputPump(OutputChannel& channel, COutputText& text, std::function<void()> appended);
    ~OutputPump();
    OutputPump(const OutputPump&) = delete;
    OutputPump& operator=(const OutputPump&) = delete;

    // The handler of OutputPending. The lines are taken when the window is idle, so that a flood of
    // messages does not block its user.
    void OnOutputPending();
    // Appends all pending text at once.
    void Flush();
    // Drops all pending text.
    void Drop();

private:
    void OnIdle(wxIdleEvent& event);
    bool AppendSlice(std::size_t largest);
    void TakeBatch();

    OutputChannel& m_channel;
    COutputText& m_text;
    std::function<void()> m_appended;
    bool m_pending = false;            // the channel has lines
    std::deque<std::string> m_backlog; // batches taken from it, not yet shown
    std::size_t m_backlogAt = 0;       // how much of the first is shown
    std::size_t m_waiting = 0;         // bytes of the backlog that are not shown
};

} // namespace vnxtest
