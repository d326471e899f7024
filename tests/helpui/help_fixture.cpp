#include "helpui/help_fixture.h"

#include "helpui/dialog_ids.h"
#include "widgets/make_child.h"

namespace vnxtest {

HelpProbe::HelpProbe(wxWindow* parent) : CHelpButtonWnd<ProbeDialog>(parent) {
    SetUpHelp(kDialogParameters);
    Fill();
}

ProbeDialog* HelpTest::MakeDialog() {
    m_probe = MakeChild<HelpProbe>(nullptr);
    return m_probe;
}

WindowHelp& HelpTest::Help() const {
    return *m_probe->GetHelp();
}

} // namespace vnxtest
