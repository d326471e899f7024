#include "ui/frame/main_frame.h"

#include <wx/display.h>

#include "helpui/help_book.h"
#include "helpui/program_icons.h"
#include "ui/dialogs/about_dlg.h"
#include "ui/frame/command_ids.h"
#include "ui/frame/menus.h"
#include "widgets/caption/frame_area.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

constexpr const wchar_t* kPlacement = L"MainFrame";
// Device-independent pixels.
constexpr int kSmallestWidth = 480;
constexpr int kSmallestHeight = 320;

constexpr ControlHelp kControlHelp[] = {
    {{frame_control::kChartPane},
     6600,
     L"Ping Chart",
     L"This chart shows the pings of the test as their replies arrive: the round trip time of each, those that were lost, and those that were answered late. Point at one to read it, or use the arrow keys; the wheel zooms.",
     {312, "chart.html"}},
    {{frame_control::kNewLines},
     6605,
     L"New Lines Below",
     L"Lines were added below the part of the report that you see. This button leads to the end and follows it again, as the End key does.",
     {313, "main_window.html#follow"}},
    {{frame_control::kAdviceBar},
     6615,
     L"Advice",
     L"This bar says what explains a failure: what was seen, what it means and what to do. More opens the help book at its place; Dismiss puts it away until the guest is started again.",
     {314, "main_window.html#advice"}},
    {{frame_control::kFullReportBar},
     6616,
     L"Report Full",
     L"The report holds no more lines. Save it, and start a new one.",
     {315, "saving.html#full"}},
    {{frame_area::kStatusField + kProgressField},
     6601,
     L"Progress",
     L"This shows how much of the ping test is done.",
     {316, "main_window.html#status"}},
    {{frame_area::kStatusField + kLibraryField},
     6602,
     L"Interface Library",
     L"This is the interface library that the guest uses. When it is not that of the Netorra package, a test says nothing about Netorra.",
     {317, "libraries.html"}},
    {{frame_area::kStatusField + kCaptureField},
     6617,
     L"Capture",
     L"This shows how many frames of the guest are in the capture file.",
     {318, "main_window.html#capture"}},
};

constexpr StandardTextUse kStandardTexts[] = {
    {kWindowItself, 30135},
    {frame_area::kTitleBar, 30151},
    {frame_area::kStatusBar, 30132},
    {frame_control::kOutputPane, 30135},
};

constexpr HelpTable kHelp{128, {310, "main_window.html"}, kControlHelp, kStandardTexts};

} // namespace

CMainFrame::CMainFrame(wxDocManager& manager, Profile& profile)
    : CHelpButtonFrameWnd(&manager, nullptr, wxID_ANY, "VNXTest"), m_profile(profile),
      m_placement(*this, profile, kPlacement) {
    SetUpHelp(kHelp);
    SetIcons(ProgramIcons());
    SetMenuBar(MakeMainMenu().release());
    SetAcceleratorTable(MakeAccelerators());

    m_statusBar = MakeChild<CStatusBar>(this);
    SetStatusBar(m_statusBar);
    GetHelp()->Assign(*m_statusBar, frame_area::kStatusBar);

    // Room for a report's lines with their time stamps, and a chart below them.
    const wxSize screen = wxDisplay(this).GetClientArea().GetSize();
    wxSize size(120 * GetCharWidth(), 42 * GetCharHeight());
    size.DecTo(screen);
    SetMinSize(FromDIP(wxSize(kSmallestWidth, kSmallestHeight)));
    SetSize(size);
    m_placement.Restore(PlacementParts::PositionAndSize);

    Bind(
        wxEVT_MENU, [this](wxCommandEvent&) { OnAbout(); }, WindowId(kCmdAbout));
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            if (HelpBook* const book = HelpBook::Current()) {
                book->OpenContents(this);
            }
        },
        WindowId(kCmdHelp));
    Bind(
        wxEVT_MENU, [this](wxCommandEvent&) { Close(); }, WindowId(kCmdExit));
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
        m_placement.Save();
        event.Skip();
    });
}

void CMainFrame::FillSystemMenu(wxMenu& menu) {
    AppendCommand(menu, kCmdAbout, wxString("&About ") + kProductName + "...");
}

void CMainFrame::OnAbout() {
    CAboutDlg(this, m_profile).ShowModal();
}

} // namespace vnxtest
