// The commands of the view: what they do, when they may be chosen, and what their menu items show.
#include <algorithm>

#include <wx/filedlg.h>
#include <wx/msgdlg.h>
#include <wx/utils.h>

#include "ui/app.h"
#include "ui/dialogs/buffer_sizes_dlg.h"
#include "ui/dialogs/debug_flags_dialog.h"
#include "ui/dialogs/default_gateway_dlg.h"
#include "ui/frame/main_frame.h"
#include "ui/frame/menus.h"
#include "ui/view.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {
constexpr int kRefreshInterval = 200; // milliseconds between two updates of the running ping test's display
constexpr int kCaptureInterval = 500; // milliseconds between two looks at the capture
constexpr int kAdviceInterval = 2000; // milliseconds between two looks at what the guest's run has to say
} // namespace

void CVNXTestView::BindCommand(Command command, Handler handler, Rule enabled, Rule checked) {
    Bind(
        wxEVT_MENU, [this, handler](wxCommandEvent&) { (this->*handler)(); }, WindowId(command));
    Bind(
        wxEVT_UPDATE_UI,
        [this, enabled, checked](wxUpdateUIEvent& event) {
            event.Enable((this->*enabled)());
            if (checked != nullptr) {
                event.Check((this->*checked)());
            }
        },
        WindowId(command));
}

void CVNXTestView::BindCommands() {
    using View = CVNXTestView;
    BindCommand(kCmdCopy, &View::OnCopy, &View::CanCopy);
    BindCommand(kCmdSelectAll, &View::OnSelectAll, &View::HasText);
    BindCommand(kCmdFind, &View::OnFind, &View::HasText);
    BindCommand(kCmdFindNext, &View::OnFindNext, &View::CanFindNext);
    BindCommand(kCmdFindPrevious, &View::OnFindPrevious, &View::CanFindNext);
    BindCommand(kCmdFollowEnd, &View::OnFollowEnd, &View::HasText);
    BindCommand(kCmdZoomIn, &View::OnZoomIn, &View::Always);
    BindCommand(kCmdZoomOut, &View::OnZoomOut, &View::Always);
    BindCommand(kCmdNormalSize, &View::OnNormalSize, &View::Always);
    BindCommand(kCmdNextPane, &View::OnNextPane, &View::Always);
    BindCommand(kCmdPreviousPane, &View::OnNextPane, &View::Always);
    BindCommand(kCmdStartGuest, &View::OnStartGuest, &View::IsStopped);
    BindCommand(kCmdStartPing, &View::OnStartPing, &View::CanStartPing);
    BindCommand(kCmdStopPing, &View::OnStopPing, &View::CanStopPing);
    BindCommand(kCmdStopGuest, &View::StopGuest, &View::IsRunning);
    BindCommand(kCmdDefineBufferSizes, &View::OnDefineBufferSizes, &View::IsStopped);
    BindCommand(kCmdDefineGateway, &View::OnDefineGateway, &View::IsStopped);
    BindCommand(kCmdRedetectAdapters, &View::OnRedetectAdapters, &View::IsStopped);
    BindCommand(kCmdSocketNotifyMode, &View::OnSocketNotifyMode, &View::IsStopped, &View::IsSocketNotifyMode);
    BindCommand(kCmdSetDebugFlags, &View::OnSetDebugFlags, &View::IsStopped, &View::IsDebugMode);
    BindCommand(kCmdShowPingChart, &View::OnShowPingChart, &View::Always, &View::IsChartShown);
    BindCommand(kCmdCaptureToFile, &View::OnCaptureToFile, &View::Always, &View::IsCapturing);

    // The right button shows the menu on release and does not change caret or selection. The menu keys show
    // it at the caret if that is in view.
    COutputText& text = m_panes->Text();
    text.Bind(wxEVT_RIGHT_DOWN, [&text](wxMouseEvent&) { text.SetFocus(); });
    text.Bind(wxEVT_RIGHT_UP, [this](wxMouseEvent& event) { ShowContextMenu(event.GetPosition()); });
    text.Bind(wxEVT_CONTEXT_MENU, [this, &text](wxContextMenuEvent&) {
        wxPoint caret = text.PointFromPosition(text.GetCurrentPos());
        caret.y += text.TextHeight(text.GetCurrentLine());
        const wxSize size = text.GetClientSize();
        ShowContextMenu({std::clamp(caret.x, 0, size.x), std::clamp(caret.y, 0, size.y)});
    });
}

void CVNXTestView::ShowContextMenu(const wxPoint& at) {
    const auto menu = MakeContextMenu(CanCopy());
    m_panes->Text().PopupMenu(menu.get(), at);
}

bool CVNXTestView::CanCopy() {
    return !m_panes->Text().GetSelectionEmpty();
}

bool CVNXTestView::HasText() {
    return m_panes->Text().GetLength() != 0;
}

bool CVNXTestView::CanFindNext() {
    return HasText() && m_finder->HasText();
}

bool CVNXTestView::IsStopped() {
    return m_ready && !m_guest->IsRunning();
}

bool CVNXTestView::IsRunning() {
    return m_guest->IsRunning();
}

bool CVNXTestView::CanStartPing() {
    return m_guest->IsRunning() && !m_guest->IsPinging();
}

bool CVNXTestView::CanStopPing() {
    return m_guest->IsRunning() && m_guest->IsPinging();
}

bool CVNXTestView::IsSocketNotifyMode() {
    return m_guest->Run().socketNotifyMode;
}

bool CVNXTestView::IsDebugMode() {
    return m_guest->Run().debugMode;
}

bool CVNXTestView::IsChartShown() {
    return m_panes->IsChartShown();
}

bool CVNXTestView::IsCapturing() {
    const auto counts = m_engine.Captured();
    return counts && !counts->isOver;
}

void CVNXTestView::OnCopy() {
    m_panes->Text().Copy();
}

void CVNXTestView::OnSelectAll() {
    m_panes->Text().SelectAll();
}

void CVNXTestView::OnFind() {
    m_finder->ShowDialog(GetFrame());
}

void CVNXTestView::OnFindNext() {
    m_finder->FindNext();
}

void CVNXTestView::OnFindPrevious() {
    m_finder->FindPrevious();
}

void CVNXTestView::OnFollowEnd() {
    m_panes->Text().FollowEnd();
}

void CVNXTestView::OnZoomIn() {
    m_panes->Text().ZoomIn();
}

void CVNXTestView::OnZoomOut() {
    m_panes->Text().ZoomOut();
}

void CVNXTestView::OnNormalSize() {
    m_panes->Text().SetZoom(0);
}

void CVNXTestView::OnNextPane() {
    m_panes->FocusNextPane();
}

void CVNXTestView::OnStartGuest() {
    m_lastTest.EndRun();
    if (m_guest->OnStartGuest()) {
        m_adviceBar->Begin();
        m_adviceTimer.Start(kAdviceInterval);
    } else {
        TellProblem("The guest could not be started.", m_guest->Problem());
    }
    TellProfileProblem();
}

// Shows why a start command failed; an empty cause means that it was cancelled.
void CVNXTestView::TellProblem(const wxString& what, const std::wstring& cause) {
    if (!cause.empty()) {
        wxMessageBox(what + "\n\n" + wxString(cause), kProductName, wxOK | wxICON_ERROR, GetFrame());
    }
}

void CVNXTestView::StopGuest() {
    const wxBusyCursor busy;
    m_guest->StopGuest();
    FinishPingDisplay();
    EndAdvice();
    m_lastTest.KeepInterfaces(m_engine);
}

void CVNXTestView::OnStartPing() {
    if (!m_guest->OnTestStartPing()) {
        TellProblem("The ping test could not be started.", m_guest->Problem());
        return;
    }
    m_history.Begin(m_asked.numPings, m_asked.targetName);
    m_panes->ShowTest();
    m_refreshTimer.Start(kRefreshInterval);
    RefreshPingDisplay();
    TellProfileProblem();
}

void CVNXTestView::OnStopPing() {
    const wxBusyCursor busy;
    m_guest->OnTestStopPing();
    FinishPingDisplay();
}

void CVNXTestView::OnDefineBufferSizes() {
    RunSettings& run = m_guest->Run();
    CBufferSizesDlg dialog(GetFrame(), run.driverBufferSize, run.dllBufferSize);
    if (dialog.ShowModal() == wxID_OK) {
        run.driverBufferSize = dialog.DriverSize();
        run.dllBufferSize = dialog.DllSize();
    }
}

void CVNXTestView::OnDefineGateway() {
    CDefaultGatewayDlg(GetFrame(), m_engine.Host()).ShowModal();
}

void CVNXTestView::OnRedetectAdapters() {
    if (!IsStopped()) {
        return;
    }
    const wxBusyCursor busy;
    m_engine.Host().RedetectAdapters();
    const std::size_t count = m_engine.Host().Adapters().size();
    TheApp().MainFrame().StatusBar().Tell(count == 0   ? wxString("No adapters were found.")
                                          : count == 1 ? wxString("1 adapter found.")
                                                       : wxString::Format("%zu adapters found.", count));
}

void CVNXTestView::OnSocketNotifyMode() {
    RunSettings& run = m_guest->Run();
    run.socketNotifyMode = !run.socketNotifyMode;
    m_engine.UserSettings().StoreSocketNotifyMode(run);
    TellProfileProblem();
}

void CVNXTestView::OnSetDebugFlags() {
    RunSettings& run = m_guest->Run();
    CDebugFlagsDialog dialog(GetFrame(), run.debugMode, run.debugFlags);
    if (dialog.ShowModal() == wxID_OK) {
        run.debugMode = dialog.IsEnabled();
        run.debugFlags = dialog.Flags();
        m_engine.UserSettings().StoreDebugSettings(run);
        TellProfileProblem();
    }
}

void CVNXTestView::OnShowPingChart() {
    m_panes->ShowChart(!m_panes->IsChartShown());
    TellProfileProblem();
}

// One that waits for the guest's start is taken back.
void CVNXTestView::OnCaptureToFile() {
    CStatusBar& statusBar = TheApp().MainFrame().StatusBar();
    if (const auto counts = m_engine.Captured(); counts && !counts->hasBegun && !counts->isOver) {
        m_engine.CancelCapture();
        m_captureTimer.Stop();
        statusBar.TellCapture("No capture");
        return;
    }
    wxFileDialog dialog(GetFrame(), "Capture to file", wxString(), "guest.pcapng",
                        "Captures (*.pcapng)|*.pcapng", wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) {
        return;
    }
    if (const auto opened = m_engine.CaptureNextStart(dialog.GetPath().ToStdWstring()); !opened) {
        TellProblem("The capture cannot be written.", opened.error().Describe());
        return;
    }
    m_captureTimer.Start(kCaptureInterval);
    ShowCapture();
}

void CVNXTestView::ShowCapture() {
    const auto counts = m_engine.Captured();
    if (!counts) {
        m_captureTimer.Stop();
        return;
    }
    wxString text = "Capture: waiting for the guest's start";
    if (counts->hasBegun) {
        text = wxString::Format(counts->isOver ? "Captured: %llu frames" : "Capturing: %llu frames",
                                static_cast<unsigned long long>(counts->written));
        if (counts->dropped != 0) {
            text += wxString::Format(", %llu dropped", static_cast<unsigned long long>(counts->dropped));
        }
    }
    TheApp().MainFrame().StatusBar().TellCapture(text);
    if (counts->isOver) {
        m_captureTimer.Stop();
        TellProblem("The capture has ended before its time.", counts->problem);
    }
}

} // namespace vnxtest
