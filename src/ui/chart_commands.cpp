#include "ui/chart_commands.h"

#include <array>

#include <wx/clipbrd.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/menu.h>
#include <wx/msgdlg.h>
#include <wx/utils.h>

#include "platform/process/terminal.h"
#include "ui/app.h"
#include "ui/chart/csv_writer.h"
#include "ui/chart/png_writer.h"
#include "ui/frame/main_frame.h"
#include "ui/frame/menus.h"
#include "ui/frame/save_file.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

constexpr std::array kChartKinds = {FileKind{"PNG Images", "png"}, FileKind{"SVG Images", "svg"},
                                    FileKind{"Tables of the pings", "csv"}};
constexpr std::array kTestKinds = {FileKind{"JSON Files", "json"}, FileKind{"Text Files", "txt"}};

std::string WithLineEnds(const std::string& text) {
    wxString lines = wxString::FromUTF8(text);
    lines.Replace("\n", kTextLineEnd);
    return lines.utf8_string();
}

} // namespace

ChartCommands::ChartCommands(wxEvtHandler& view, CPingChart& chart, const PingHistory& history,
                             const LastTest& lastTest)
    : m_view(view), m_chart(chart), m_history(history), m_lastTest(lastTest) {
    using This = ChartCommands;
    BindCommand(kCmdChartZoomIn, &This::OnZoomIn, &This::HasTest);
    BindCommand(kCmdChartZoomOut, &This::OnZoomOut, &This::CanShowMore);
    BindCommand(kCmdChartShowAll, &This::OnShowAll, &This::CanShowMore);
    BindCommand(kCmdChartLogarithmic, &This::OnLogarithmic, &This::HasTest, &This::IsLogarithmic);
    BindCommand(kCmdCopyChart, &This::OnCopy, &This::HasTest);
    BindCommand(kCmdSaveChart, &This::OnSave, &This::HasTest);
    BindCommand(kCmdExportTest, &This::OnExport, &This::HasLastTest);
    m_chart.Bind(wxEVT_CONTEXT_MENU, &This::ShowMenu, this);
}

void ChartCommands::BindCommand(Command command, Action action, Rule enabled, Rule checked) {
    m_view.Bind(
        wxEVT_MENU, [this, action](wxCommandEvent&) { (this->*action)(); }, WindowId(command));
    m_view.Bind(
        wxEVT_UPDATE_UI,
        [this, enabled, checked](wxUpdateUIEvent& event) {
            event.Enable((this->*enabled)());
            if (checked != nullptr) {
                event.Check((this->*checked)());
            }
        },
        WindowId(command));
}

void ChartCommands::OnCopy() {
    const wxClipboardLocker clipboard;
    if (!clipboard || !wxTheClipboard->SetData(MakeChild<wxBitmapDataObject>(m_chart.MakeBitmap()))) {
        wxMessageBox("The chart could not be copied, for another program holds the Clipboard. Try again.",
                     kProductName, wxOK | wxICON_ERROR, &m_chart);
        return;
    }
    TheApp().MainFrame().StatusBar().Tell("The chart is on the Clipboard");
}

void ChartCommands::OnSave() {
    const auto choice = AskWhereToSave(&m_chart, "Save chart as", "ping-chart", kChartKinds);
    if (choice) {
        const std::string bytes = choice->kind == 0   ? PngOf(m_chart.MakeBitmap().ConvertToImage())
                                  : choice->kind == 1 ? m_chart.MakeSvg()
                                                      : PingsCsv(m_history);
        Save(choice->path, bytes, "The chart could not be saved.");
    }
}

void ChartCommands::OnExport() {
    const auto choice = AskWhereToSave(&m_chart, "Export last ping test", "ping-test", kTestKinds);
    if (choice) {
        const wxBusyCursor busy; // 65,536 pings take their time
        Save(choice->path, choice->kind == 0 ? m_lastTest.AsJson() : WithLineEnds(m_lastTest.AsText()),
             "The ping test could not be exported.");
    }
}

void ChartCommands::Save(const wxString& path, const std::string& bytes, const char* complaint) {
    if (const auto saved = SaveBytes(path, bytes); !saved) {
        wxMessageBox(wxString(complaint) + "\n\n" + wxString(saved.error().text), kProductName,
                     wxOK | wxICON_ERROR, &m_chart);
        return;
    }
    TheApp().MainFrame().StatusBar().Tell("Saved: " + wxFileNameFromPath(path));
}

// The menu key has no place: its menu appears in the chart's corner.
void ChartCommands::ShowMenu(wxContextMenuEvent& event) {
    const wxPoint at = event.GetPosition();
    m_chart.SetFocus();
    m_chart.PopupMenu(MakeChartMenu().get(),
                      at == wxDefaultPosition ? wxPoint(0, 0) : m_chart.ScreenToClient(at));
}

} // namespace vnxtest
