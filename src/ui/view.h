// The output view: the window's side of the engine's port, and the commands of the Edit and Test menus.
//
// Messages of the engine come from any thread and are queued for the user-interface thread, which runs
// everything else. The destructor stops a running ping test and the guest, joins all their threads, and
// drops the messages that are still queued.
#pragma once

#include <optional>
#include <set>
#include <string>

#include <wx/docview.h>
#include <wx/timer.h>

#include "core/output_channel.h"
#include "guest/engine.h"
#include "guest/front_end.h"
#include "ui/chart/ping_history.h"
#include "ui/chart_commands.h"
#include "ui/frame/advice_bar.h"
#include "ui/frame/command_ids.h"
#include "ui/frame/full_report_bar.h"
#include "ui/frame/panes.h"
#include "ui/last_test.h"
#include "ui/text/find.h"
#include "ui/text/output_pump.h"

namespace vnxtest {

class CVNXTestView final : public wxView, public FrontEnd {
public:
    CVNXTestView() = default;
    ~CVNXTestView() override;

    // Gathers the host's network and writes the report. Called once, after the window is shown.
    void InitialUpdate();
    // Empties the document and, if the guest is stopped, writes the report again.
    void StartOver();
    // Stops the guest and its ping test, if they run, and waits for their last lines.
    void StopGuest();
    // The whole document, pending text included. Valid until the next event.
    std::string_view WholeText();

    // wxView
    bool OnCreate(wxDocument* document, long flags) override;
    void OnDraw(wxDC*) override {}
    bool OnClose(bool deleteWindow) override;
    void OnChangeFilename() override;

    // FrontEnd
    void PostViewMessage(ViewMessage message) override;
    bool AskParameters(GuestParameters& parameters) override;
    int ShowProceedTaskDialog(const ProceedQuestion& question) override;
    bool AskPingWho(PingWhoParameters& parameters) override;

private:
    using Handler = void (CVNXTestView::*)();
    using Rule = bool (CVNXTestView::*)();

    void ShowLibrary();
    // Tells each problem of the settings once.
    void TellProfileProblem();
    void OnAppended();
    void ShowWhetherFull();
    void HandleViewMessage(ViewMessage message);
    void BindCommands();
    void BindCommand(Command command, Handler handler, Rule enabled, Rule checked = nullptr);
    // At a place in the text's client area.
    void ShowContextMenu(const wxPoint& at);

    // Commands.
    void OnCopy();
    void OnSelectAll();
    void OnFind();
    void OnFindNext();
    void OnFindPrevious();
    void OnFollowEnd();
    void OnZoomIn();
    void OnZoomOut();
    void OnNormalSize();
    void OnNextPane();
    void OnStartGuest();
    void TellProblem(const wxString& what, const std::wstring& cause);
    void OnStartPing();
    void OnStopPing();
    void OnDefineBufferSizes();
    void OnDefineGateway();
    void OnRedetectAdapters();
    void OnSocketNotifyMode();
    void OnSetDebugFlags();
    void OnShowPingChart();
    void OnCaptureToFile();

    // Rules of enabling and checking.
    bool CanCopy();
    bool HasText();
    bool CanFindNext();
    bool IsStopped();
    bool IsRunning();
    bool CanStartPing();
    bool CanStopPing();
    bool IsSocketNotifyMode();
    bool IsDebugMode();
    bool IsChartShown();
    bool IsCapturing();
    bool Always() { return true; }

    // The chart and the progress.
    void RefreshPingDisplay();
    void FinishPingDisplay();
    void ShowProgress();
    // Shows what there is to say of the guest's run so far.
    void ShowAdvice();
    void EndAdvice();
    // Shows how far the capture has come, and once why it ended before its time.
    void ShowCapture();

    OutputChannel m_channel{*this};
    Engine m_engine;
    Guest* m_guest = nullptr;
    PingHistory m_history;
    LastTest m_lastTest;
    PingPlan m_asked; // of the last ping test
    CPanes* m_panes = nullptr;
    CFullReportBar* m_fullBar = nullptr;
    CAdviceBar* m_adviceBar = nullptr;
    std::optional<OutputPump> m_pump;
    std::optional<OutputFinder> m_finder;
    std::optional<ChartCommands> m_chartCommands;
    wxTimer m_refreshTimer;
    wxTimer m_adviceTimer;
    wxTimer m_captureTimer;                // while one was asked for and is not over
    std::set<std::wstring> m_toldProblems; // of the settings
    bool m_ready = false;                  // the first display is done

    wxDECLARE_DYNAMIC_CLASS(CVNXTestView);
};

} // namespace vnxtest
