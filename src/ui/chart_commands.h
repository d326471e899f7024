// The commands of the ping chart, beside its keys: its context menu, and what the View menu has for it.
//
// They are bound to the view, which the frame's menus ask. User-interface thread.
#pragma once

#include <string>

#include <wx/event.h>

#include "ui/chart/ping_chart.h"
#include "ui/frame/command_ids.h"
#include "ui/last_test.h"

namespace vnxtest {

class ChartCommands {
public:
    // All must outlive this.
    ChartCommands(wxEvtHandler& view, CPingChart& chart, const PingHistory& history,
                  const LastTest& lastTest);

private:
    using Action = void (ChartCommands::*)();
    using Rule = bool (ChartCommands::*)() const;

    void BindCommand(Command command, Action action, Rule enabled, Rule checked = nullptr);
    void ShowMenu(wxContextMenuEvent& event);

    void OnZoomIn() { m_chart.ZoomIn(); }
    void OnZoomOut() { m_chart.ZoomOut(); }
    void OnShowAll() { m_chart.ShowAll(); }
    void OnLogarithmic() { m_chart.ShowLogarithmic(!m_chart.IsLogarithmic()); }

    void OnCopy();
    void OnSave();
    void OnExport();
    void Save(const wxString& path, const std::string& bytes, const char* complaint);

    bool HasTest() const { return m_chart.HasTest(); }
    bool HasLastTest() const { return m_lastTest.IsThere(); }
    bool CanShowMore() const { return m_chart.HasTest() && !m_chart.IsWhole(); }
    bool IsLogarithmic() const { return m_chart.IsLogarithmic(); }

    wxEvtHandler& m_view;
    CPingChart& m_chart;
    const PingHistory& m_history;
    const LastTest& m_lastTest;
};

} // namespace vnxtest
