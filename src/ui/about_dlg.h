// The About box: the program, its version, its legal notice and whom to ask. It remembers where it was.
#pragma once

#include "helpui/help_button_wnd.h"
#include "platform/profile.h"
#include "ui/window_placement.h"

namespace vnxtest {

class CAboutDlg final : public CHelpButtonDlg {
public:
    CAboutDlg(wxWindow* parent, Profile& profile);
    ~CAboutDlg() override;

private:
    WindowPlacement m_placement;
};

} // namespace vnxtest
