// The main window's frame: menu bar, status bar, place on the screen, and the About and Help commands.
// User-interface thread.
#pragma once

#include "helpui/help_button_wnd.h"
#include "platform/files/profile.h"
#include "ui/frame/status_bar.h"
#include "widgets/window_placement.h"

namespace vnxtest {

// The numbers of the panes in the client area, for the help.
namespace frame_control {
inline constexpr int kChartPane = 1040;
inline constexpr int kNewLines = 1045;
inline constexpr int kAdviceBar = 1046;
inline constexpr int kFullReportBar = 1047;
inline constexpr int kOutputPane = 0xE900;
} // namespace frame_control

class CMainFrame final : public CHelpButtonFrameWnd {
public:
    // `profile` must outlive this; the window's place is kept there.
    CMainFrame(wxDocManager& manager, Profile& profile);

    CStatusBar& StatusBar() { return *m_statusBar; }

protected:
    bool HasSystemMenu() const override { return true; }
    void FillSystemMenu(wxMenu& menu) override;

private:
    void OnAbout();

    Profile& m_profile;
    WindowPlacement m_placement;
    CStatusBar* m_statusBar = nullptr;
};

} // namespace vnxtest
