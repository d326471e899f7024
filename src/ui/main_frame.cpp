#include "ui/main_frame.h"

#include <wx/display.h>

#include "helpui/dialog_ids.h"
#include "helpui/help_book.h"
#include "helpui/program_icons.h"
#include "ui/about_dlg.h"
#include "ui/command_ids.h"
#include "ui/menus.h"
#include "ui/product.h"
#include "widgets/frame_area.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {
constexpr const wchar_t* kPlacement = L"MainFrame";
// Device-independent pixels.
constexpr int kSmallestWidth = 480;
constexpr int kSmallestHeight = 320;
} // namespace

CMainFrame::CMainFrame(wxDocManager& manager, Profile& profile)
    : CHelpButtonFrameWnd(&manager, nullptr, wxID_ANY, "VNXTest"), m_profile(profile),
      m_placement(*this, profile, kPlacement) {
    SetUpHelp(kTemplateFrame);
    SetIcons(ProgramIcons());
    SetMenuBar(MakeMainMenu().release());
    SetAcceleratorTable(MakeAccelerators());

    m_statusBar = MakeChild<CStatusBar>(this);
    SetStatusBar(m_statusBar);
    GetHelp()->Assign(*m_statusBar, frame_control::kStatusBar);

    // A report's lines with their time stamps, and a chart below them.
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

void CMainFrame::RegisterHelp(HelpMaps& maps) {
    maps.remap.Register(MakeHelpKey(kTemplateFrame, frame_area::kStatusField + kProgressField),
                        MakeHelpKey(kTemplateFrame, frame_control::kProgress));
    maps.remap.Register(MakeHelpKey(kTemplateFrame, frame_area::kStatusField + kLibraryField),
                        MakeHelpKey(kTemplateFrame, frame_control::kLibrary));
}

void CMainFrame::FillSystemMenu(wxMenu& menu) {
    AppendCommand(menu, kCmdAbout, "&About VNXTest64UD...");
}

void CMainFrame::OnAbout() {
    CAboutDlg(this, m_profile).ShowModal();
}

} // namespace vnxtest
