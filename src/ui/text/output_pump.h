// Moves what waits in the output channel into the control, without ever holding up the window.
//
// A batch is appended at once; one that is too large for that is cut into slices at line ends, and
// keys, clicks and drawing come first between two of them. Order is kept and nothing is lost, up to what
// the control may hold: what is beyond that does not wait for it.
// User-interface thread.
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
    // Calls `appended` after each append. Both others must outlive this.
    OutputPump(OutputChannel& channel, COutputText& text, std::function<void()> appended);
    ~OutputPump();
    OutputPump(const OutputPump&) = delete;
    OutputPump& operator=(const OutputPump&) = delete;

    // The handler of OutputPending. The lines are taken when the window has nothing else to do, so
    // that a flood of messages cannot keep it from its user.
    void OnOutputPending();
    // Appends all that waits, however much it is.
    void Flush();
    // Forgets all that waits.
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
