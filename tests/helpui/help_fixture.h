// Tests of the help in real windows: the probe dialog with help for its controls, all but the first.
#pragma once

#include "helpui/help_button_wnd.h"
#include "widgets/desktop_fixture.h"

namespace vnxtest {

// Topics of its help.
inline constexpr HelpTopic kProbeTopic{320, "parameters.html"};
inline constexpr HelpTopic kPingTopic{353, "ping_who.html#to"};

class HelpProbe : public CHelpButtonWnd<ProbeDialog> {
public:
    explicit HelpProbe(wxWindow* parent);
};

class HelpTest : public DesktopTest {
protected:
    ProbeDialog* MakeDialog() override;

    // The help of the dialog to begin with.
    WindowHelp& Help() const;

private:
    HelpProbe* m_probe = nullptr;
};

} // namespace vnxtest
