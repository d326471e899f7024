// The About box: the program, its version, its legal notice and whom to ask. It remembers where it was.
#pragma once

#include "helpui/help_button_wnd.h"
#include "platform/profile.h"

namespace vnxtest {

class CAboutDlg final : public CHelpButtonDlg {
public:
    CAboutDlg(wxWindow* parent, Profile& profile);
    ~CAboutDlg() override;

private:
    Profile& m_profile;
};

} // namespace vnxtest
