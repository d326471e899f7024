#include "helpui/help_fixture.h"

#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself}, 1, L"Probe", L"This is a dialog with one of everything."},
    {{ProbeDialog::kAddress}, 2, L"IP Entry", L"Enter an IP address."},
    {{ProbeDialog::kMac}, 3, L"MAC Entry", L"Enter a MAC address."},
    {{ProbeDialog::kNumber, ProbeDialog::kNumberSpin}, 4, L"Number Entry", L"Enter a number.", kPingTopic},
    {{ProbeDialog::kBox}, 5, L"Box", L"Check this box."},
    {{ProbeDialog::kDisabled}, 6, L"Disabled Button", L"Click this button."},
};

constexpr HelpTable kHelp{200, kProbeTopic, kControlHelp};

} // namespace

HelpProbe::HelpProbe(wxWindow* parent) : CHelpButtonWnd<ProbeDialog>(parent) {
    SetUpHelp(kHelp);
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
