// The client area of the main window: the output view and, below it, the chart, which can be hidden.
// User-interface thread.
#pragma once

#include <wx/splitter.h>

#include "platform/files/profile.h"
#include "ui/chart/ping_chart.h"
#include "ui/text/output_text.h"

namespace vnxtest {

class CPanes final : public wxSplitterWindow {
public:
    // The chart is shown or hidden as stored in `profile`. `history` and `profile` must outlive this.
    CPanes(wxWindow* parent, const PingHistory& history, Profile& profile);

    COutputText& Text() { return *m_text; }
    CPingChart& Chart() { return *m_chart; }

    bool IsChartShown() const { return IsSplit(); }
    // Shows or hides the chart, and stores the choice.
    void ShowChart(bool show);
    // A new test begins: the chart shows it, with room for it unless the user gave it its height.
    void ShowTest();
    // Moves the focus to the other pane. There are two at most, so both directions are the same.
    void FocusNextPane();

private:
    void Split();
    int ChartHeight() const;

    Profile& m_profile;
    COutputText* m_text;
    CPingChart* m_chart;
    bool m_dragged = false; // the user gave the chart its height
};

} // namespace vnxtest
