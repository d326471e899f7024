// The About box: the program, its version, its legal notice and its support. It keeps its place.
//
// The addresses of the product's web page and of its support are settings of the build (VNXTEST_PRODUCT_PAGE,
// VNXTEST_SUPPORT_MAIL). Without a support address the box leads to the help book.
#pragma once

#include "helpui/help_button_wnd.h"
#include "platform/files/profile.h"
#include "widgets/window_placement.h"

namespace vnxtest {

class CAboutDlg final : public CHelpButtonDlg {
public:
    CAboutDlg(wxWindow* parent, Profile& profile);
    ~CAboutDlg() override;

private:
    WindowPlacement m_placement;
};

} // namespace vnxtest
