// The main window's frame: menu bar, status bar, place on the screen, and the About and Help commands.
// User-interface thread.
#pragma once

#include "helpui/help_button_wnd.h"
#include "platform/profile.h"
#include "ui/status_bar.h"
#include "widgets/window_placement.h"

namespace vnxtest {

class CMainFrame final : public CHelpButtonFrameWnd {
public:
    // `profile` must outlive this; the window's place is kept there.
    CMainFrame(wxDocManager& manager, Profile& profile);

    CStatusBar& StatusBar() { return *m_statusBar; }

protected:
    void RegisterHelp(HelpMaps& maps) override;
    bool HasSystemMenu() const override { return true; }
    void FillSystemMenu(wxMenu& menu) override;

private:
    void OnAbout();

    Profile& m_profile;
    WindowPlacement m_placement;
    CStatusBar* m_statusBar = nullptr;
};

} // namespace vnxtest
