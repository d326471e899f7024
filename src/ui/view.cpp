#include "ui/view.h"

#include <initializer_list>
#include <memory>

#include <wx/frame.h>
#include <wx/msgdlg.h>
#include <wx/sizer.h>
#include <wx/utils.h>

#include "core/debug_output.h"
#include "ui/app.h"
#include "ui/dialogs/parameters_dlg.h"
#include "ui/dialogs/ping_who_dlg.h"
#include "ui/dialogs/task_dialogs.h"
#include "ui/document.h"
#include "ui/frame/main_frame.h"
#include "ui/frame/menus.h"
#include "ui/text/new_lines_button.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

wxIMPLEMENT_DYNAMIC_CLASS(CVNXTestView, wxView);

namespace {

wxDEFINE_EVENT(EVT_VIEW_MESSAGE, wxThreadEvent);

} // namespace

CVNXTestView::~CVNXTestView() {
    m_refreshTimer.Stop();
    m_adviceTimer.Stop();
    m_captureTimer.Stop();
    // The threads write and post until they have ended; their lines and messages are dropped.
    m_guest = nullptr;
    m_engine.EndGuest();
    m_channel.Detach();
    m_chartCommands.reset();
    m_finder.reset();
    m_pump.reset();
    for (wxWindow* const child : std::initializer_list<wxWindow*>{m_adviceBar, m_fullBar, m_panes}) {
        if (child != nullptr) {
            child->Destroy();
        }
    }
}

bool CVNXTestView::OnCreate(wxDocument*, long) {
    CVNXTestApp& app = TheApp();
    if (const auto opened = m_engine.Open(app.LibraryName()); !opened) {
        wxMessageBox("The interface library cannot be used: " + wxString(opened.error().Describe()),
                     kProductName, wxOK | wxICON_ERROR);
        return false;
    }
    CMainFrame& frame = app.MainFrame();
    SetFrame(&frame);
    m_panes = MakeChild<CPanes>(&frame, m_history, app.UserProfile());
    m_fullBar = MakeChild<CFullReportBar>(
        &frame, [this] { GetDocument()->Save(); },
        [this] { wxStaticCast(GetDocument(), CVNXTestDoc)->StartOver(); });
    m_adviceBar = MakeChild<CAdviceBar>(&frame);
    auto* const client = MakeChild<wxBoxSizer>(wxVERTICAL);
    client->Add(m_adviceBar, wxSizerFlags().Expand());
    client->Add(m_fullBar, wxSizerFlags().Expand());
    client->Add(m_panes, wxSizerFlags(1).Expand());
    frame.SetSizer(client);
    frame.Layout();
    frame.GetHelp()->Assign(m_panes->Text(), frame_control::kOutputPane);
    frame.GetHelp()->Assign(*MakeChild<CNewLinesButton>(m_panes->Text()), frame_control::kNewLines);
    frame.GetHelp()->Assign(m_panes->Chart(), frame_control::kChartPane);
    frame.GetHelp()->Assign(*m_adviceBar, frame_control::kAdviceBar);
    frame.GetHelp()->Assign(*m_fullBar, frame_control::kFullReportBar);
    m_pump.emplace(m_channel, m_panes->Text(), [this] { OnAppended(); });
    m_finder.emplace(m_panes->Text(), [&frame](const wxString& message, bool holds) {
        holds ? frame.StatusBar().Tell(message) : frame.StatusBar().TakeBack(message);
    });
    ShowLibrary();
    Bind(EVT_VIEW_MESSAGE,
         [this](wxThreadEvent& event) { HandleViewMessage(static_cast<ViewMessage>(event.GetInt())); });
    m_refreshTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { RefreshPingDisplay(); });
    m_adviceTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowAdvice(); });
    m_captureTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowCapture(); });
    m_engine.MakeGuest(app.GuestProfile(), *this);
    m_guest = &m_engine.TheGuest();
    m_guest->Ping().KeepRecords(true);
    BindCommands();
    m_chartCommands.emplace(*this, m_panes->Chart(), m_history, m_lastTest);
    m_panes->Text().SetFocus();
    return true;
}

void CVNXTestView::InitialUpdate() {
    m_channel.Attach();
    {
        const wxBusyCursor busy;
        m_engine.GatherHost();
        m_engine.WriteReport();
    }
    m_ready = true;
    if (IsDebugOutputRefused()) {
        wxMessageBox(
            "The interface library refused to take the program's output, so the document stays empty.\n\nSet VNXTEST_TRACE=1 in the environment and start the program from a terminal to see the lines there.",
            kProductName, wxOK | wxICON_WARNING, GetFrame());
    }
    TellProfileProblem();
}

void CVNXTestView::TellProfileProblem() {
    wxString text;
    for (const Profile* const profile : {&TheApp().UserProfile(), &TheApp().GuestProfile()}) {
        const std::wstring problem = profile->LastProblem();
        if (!problem.empty() && m_toldProblems.insert(problem).second) {
            text += "\n\n" + wxString(problem);
        }
    }
    if (!text.empty()) {
        wxMessageBox("The settings could not all be read or stored." + text, kProductName,
                     wxOK | wxICON_WARNING, GetFrame());
    }
}

// Also tells if another library takes the place of the package's: its test would prove nothing about
// Netorra.
void CVNXTestView::ShowLibrary() {
    const VnetxLibrary& library = *m_engine.Library();
    const wxString name = library.ModuleName();
    TheApp().MainFrame().SetStatusText(
        library.WhyNotThePackage().empty() ? "Library: " + name : "Not the package's library: " + name,
        kLibraryField);
}

void CVNXTestView::OnAppended() {
    if (!GetDocument()->IsModified()) {
        GetDocument()->Modify(true);
    }
    if (m_panes->Text().IsFull()) {
        ShowWhetherFull();
    }
}

void CVNXTestView::ShowWhetherFull() {
    const bool full = m_panes->Text().IsFull();
    TheApp().MainFrame().StatusBar().TellStanding(full ? "The report is full: what follows is left out" : "");
    m_fullBar->ShowWhile(full);
}

void CVNXTestView::StartOver() {
    m_pump->Drop();
    m_panes->Text().EmptyText();
    m_finder->StartOver();
    ShowWhetherFull();
    GetDocument()->Modify(false);
    if (IsStopped()) {
        const wxBusyCursor busy;
        m_engine.WriteReport(); // from what was gathered at the start
    }
}

std::string_view CVNXTestView::WholeText() {
    m_pump->Flush();
    return m_panes->Text().WholeText();
}

// Only the document asks whether it may be closed. The window's place has just been stored.
bool CVNXTestView::OnClose(bool) {
    TellProfileProblem();
    return true;
}

void CVNXTestView::OnChangeFilename() {
    if (wxWindow* const frame = GetFrame()) {
        frame->SetLabel(GetDocument()->GetUserReadableName() + " - VNXTest");
    }
}

void CVNXTestView::PostViewMessage(ViewMessage message) {
    auto event = std::make_unique<wxThreadEvent>(EVT_VIEW_MESSAGE);
    event->SetInt(static_cast<int>(message));
    QueueEvent(event.release());
}

void CVNXTestView::HandleViewMessage(ViewMessage message) {
    if (message == ViewMessage::OutputPending) {
        m_pump->OnOutputPending();
        return;
    }
    m_guest->HandleViewMessage(message);
    FinishPingDisplay();
    if (!IsRunning()) {
        EndAdvice();
        m_lastTest.KeepInterfaces(m_engine);
    }
}

bool CVNXTestView::AskParameters(GuestParameters& parameters) {
    return CParametersDlg(GetFrame(), m_engine.Host(), *m_engine.Library(), parameters).ShowModal() ==
           wxID_OK;
}

int CVNXTestView::ShowProceedTaskDialog(const ProceedQuestion& question) {
    return vnxtest::ShowProceedTaskDialog(GetFrame(), question);
}

bool CVNXTestView::AskPingWho(PingWhoParameters& parameters) {
    const bool confirmed = CPingWhoDlg(GetFrame(), parameters).ShowModal() == wxID_OK;
    // The guest may have stopped by itself while the dialog was open.
    if (!confirmed || !IsRunning()) {
        return false;
    }
    m_asked = parameters.plan;
    return true;
}

void CVNXTestView::RefreshPingDisplay() {
    m_history.Update(m_guest->Ping().CopyPings(m_history.ChangedFrom()), GetTicks());
    m_panes->Chart().ShowChange();
    ShowProgress();
}

void CVNXTestView::FinishPingDisplay() {
    if (!m_history.IsRunning() || m_guest->IsPinging()) {
        return;
    }
    m_refreshTimer.Stop();
    ShowAdvice();
    m_lastTest.Keep(m_engine);
    const PingTestResult& result = m_guest->Ping().Result();
    if (result.complete) {
        m_history.Finish(result.records);
    } else {
        m_history.End();
    }
    m_panes->Chart().ShowChange();
    ShowProgress();
    if (!result.problem.empty()) {
        // Later: a message box handles events while it is open.
        CallAfter([this, problem = result.problem] {
            TellProblem("The ping test could not be watched while it ran.", problem);
        });
    }
}

void CVNXTestView::ShowAdvice() {
    m_adviceBar->Tell(m_engine.Advice());
}

// The guest has stopped: its run says no more, and what it has said stays in view.
void CVNXTestView::EndAdvice() {
    if (m_adviceTimer.IsRunning()) {
        m_adviceTimer.Stop();
        ShowAdvice();
    }
}

void CVNXTestView::ShowProgress() {
    const PingSummary& summary = m_history.Summary();
    wxString text;
    if (!m_history.IsRunning()) {
        text = wxString::Format("Ping test ended: %u sent, %u received", summary.sent, summary.received);
    } else if (summary.sent < m_history.Planned()) {
        text = wxString::Format(
            "Pinging: %u of %u sent (%u%%), %u received", summary.sent, m_history.Planned(),
            static_cast<unsigned>(std::uint64_t{summary.sent} * 100 / m_history.Planned()), summary.received);
    } else {
        text = wxString::Format("Pinging: all %u sent, %u received, waiting for the rest", summary.sent,
                                summary.received);
    }
    TheApp().MainFrame().SetStatusText(text, kProgressField);
}

} // namespace vnxtest
