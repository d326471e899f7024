#include "ui/dialogs/parameters_dlg.h"

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/radiobut.h>
#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include "ui/dialogs/dialog_layout.h"
#include "widgets/balloon.h"
#include "widgets/entries/ip_address_ctrl.h"
#include "widgets/entries/mac_entry_ctrl.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kGuestIp1 = 1000;
constexpr int kAdapterIp1 = 1001;
constexpr int kGuestIp2 = 1002;
constexpr int kAdapterIp2 = 1003;
constexpr int kAdapterMac1 = 1006;
constexpr int kGuestMac1 = 1007;
constexpr int kGuestMac2 = 1008;
constexpr int kAdapterMac2 = 1009;
constexpr int kUseTwo = 1012;
constexpr int kTun1 = 1013;
constexpr int kTap1 = 1014;
constexpr int kTun2 = 1019;
constexpr int kTap2 = 1020;
} // namespace ids

constexpr HelpTopic kModeTopic{321, "parameters.html#mode"};
constexpr HelpTopic kAdapterTopic{327, "parameters.html#adapter"};

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6200,
     L"VNXTest64UD Parameters",
     L"Use this dialog to define the virtual interfaces of the simulated \"Vantor\" instance and the host adapters they use. The first interface is required, the second one is optional."},
    {{ids::kTun1, ids::kTun2},
     6201,
     L"Tun",
     L"Select this option to open the interface in TUN mode. In this mode only IP packets are exchanged.",
     kModeTopic},
    {{ids::kTap1, ids::kTap2},
     6202,
     L"Tap",
     L"Select this option to open the interface in TAP mode. In this mode Ethernet frames of any kind are exchanged, ARP packets among them.",
     kModeTopic},
    {{ids::kGuestIp1, ids::kGuestIp2},
     6203,
     L"Guest IP Address",
     L"Enter here the IP address the simulated guest is to have. It should belong to the same network as the host adapter and must not be used by any other system.",
     {323, "parameters.html#guest_ip"}},
    {{ids::kGuestMac1, ids::kGuestMac2},
     6204,
     L"Guest MAC Address",
     L"Enter here the optional MAC address the simulated guest is to have. The lowest bit (0x01, group) of its first byte must be off and the next one (0x02, locally administered) must be on, as in 02-00-5E-80-00-04. If you leave the field empty, an address is made from the guest's IP address.",
     {325, "parameters.html#guest_mac"}},
    {{ids::kAdapterIp1, ids::kAdapterIp2},
     6205,
     L"Host Adapter IP Address",
     L"Enter here the IP address of the host adapter the interface is to use. Identify the adapter by either its IP address or its MAC address, but not both.",
     kAdapterTopic},
    {{ids::kAdapterMac1, ids::kAdapterMac2},
     6206,
     L"Host Adapter MAC Address",
     L"Enter here the MAC address of the host adapter the interface is to use. Identify the adapter by either its IP address or its MAC address, but not both.",
     kAdapterTopic},
    {{ids::kUseTwo},
     6207,
     L"Use Two Virtual Interfaces",
     L"Check this box to define a second virtual interface for this test.",
     {329, "parameters.html#two"}},
};

constexpr HelpTable kHelp{130, {320, "parameters.html"}, kControlHelp};

// What differs between the two interfaces: numbers, and mnemonics, which must be unique in the dialog.
struct InterfaceFacts {
    int tun, tap, guestIp, guestMac, adapterIp, adapterMac;
    const char *tunLabel, *tapLabel, *guestIpLabel, *guestMacLabel, *adapterIpLabel, *adapterMacLabel;
    const char* name; // for screen readers
};

constexpr std::array<InterfaceFacts, 2> kInterfaces = {{
    {ids::kTun1, ids::kTap1, ids::kGuestIp1, ids::kGuestMac1, ids::kAdapterIp1, ids::kAdapterMac1, "T&un",
     "&Tap", "&IP Address:", "&MAC Address:", "I&P Address:", "MAC A&ddress:", "interface 1"},
    {ids::kTun2, ids::kTap2, ids::kGuestIp2, ids::kGuestMac2, ids::kAdapterIp2, ids::kAdapterMac2, "Tu&n",
     "T&ap", "IP Add&ress:", "MA&C Address:", "IP Addr&ess:", "MAC Addre&ss:", "interface 2"},
}};

// The text to be checked: a partly filled control is neither blank nor an address.
std::wstring TextOf(const IpAddressCtrl& control) {
    if (control.IsBlank() || control.AreAllFieldsFilled()) {
        return control.GetText().ToStdWstring();
    }
    wxString text = control.GetFieldText(0);
    for (int field = 1; field < 4; ++field) {
        text += "." + control.GetFieldText(field);
    }
    return text.ToStdWstring();
}

} // namespace

CParametersDlg::CParametersDlg(wxWindow* parent, const HostNetwork& host, VnetxLibrary& library,
                               GuestParameters& parameters)
    : CHelpButtonDlg(parent, wxID_ANY, wxString(kProductName) + " Parameters"), m_host(host),
      m_library(library), m_parameters(parameters) {
    SetUpHelp(kHelp);
    const int gap = Gap(*this);
    auto* const content = MakeChild<wxBoxSizer>(wxVERTICAL);
    content->Add(MakeInterface(0, " Virtual Interface #1:  (required) "), wxSizerFlags().Expand());
    m_useTwo = MakeChild<wxCheckBox>(this, ids::kUseTwo, "Use t&wo virtual interfaces for this test");
    content->Add(m_useTwo, wxSizerFlags().Border(wxTOP | wxBOTTOM, 2 * gap));
    content->Add(MakeInterface(1, " Virtual Interface #2:  (optional) "), wxSizerFlags().Expand());
    FinishDialog(*this, content);
    // No mnemonic: the letters are used up, and Escape does the same.
    if (wxWindow* const cancel = FindWindow(wxID_CANCEL)) {
        cancel->SetLabel("Cancel");
    }
    m_useTwo->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { ApplyUse(); });
}

wxSizer* CParametersDlg::MakeInterface(int index, const wxString& title) {
    InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(index)];
    const int gap = Gap(*this);
    auto* const group = MakeChild<wxStaticBoxSizer>(wxHORIZONTAL, this, title);
    wxWindow* const box = group->GetStaticBox();
    group->Add(MakeGuest(index, box), wxSizerFlags(1).Expand().Border(wxALL, gap));
    group->Add(MakeAdapter(index, box), wxSizerFlags(1).Expand().Border(wxALL, gap));
    controls.adapterIp->Bind(EVT_IP_ADDRESS_CHANGED,
                             [this, &controls](wxCommandEvent&) { OnAdapterIp(controls); });
    controls.adapterMac->Bind(wxEVT_TEXT, [this, &controls](wxCommandEvent& event) {
        OnAdapterMac(controls);
        event.Skip();
    });
    return group;
}

wxSizer* CParametersDlg::MakeGuest(int index, wxWindow* box) {
    const InterfaceFacts& facts = kInterfaces[static_cast<std::size_t>(index)];
    InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(index)];
    const int gap = Gap(*this);
    const wxString name = facts.name;

    auto* const guest = MakeChild<wxBoxSizer>(wxVERTICAL);
    auto* const mode = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    controls.tun = MakeChild<wxRadioButton>(box, facts.tun, facts.tunLabel, wxDefaultPosition, wxDefaultSize,
                                            wxRB_GROUP);
    controls.tap = MakeChild<wxRadioButton>(box, facts.tap, facts.tapLabel);
    mode->Add(controls.tun, wxSizerFlags().Border(wxRIGHT, 3 * gap));
    mode->Add(controls.tap);
    guest->Add(mode, wxSizerFlags().Border(wxBOTTOM, 2 * gap));
    wxFlexGridSizer* const rows = MakeRows(*this);
    controls.guestIp = AddRow(
        rows, box, facts.guestIpLabel,
        [&] { return MakeChild<IpAddressCtrl>(box, facts.guestIp, "Guest IP address of " + name); },
        "(required)");
    controls.guestMac = AddRow(
        rows, box, facts.guestMacLabel,
        [&] { return MakeChild<MacEntryCtrl>(box, facts.guestMac, "Guest MAC address of " + name); },
        "(optional)");
    guest->Add(rows, wxSizerFlags().Expand());
    return guest;
}

wxSizer* CParametersDlg::MakeAdapter(int index, wxWindow* group) {
    const InterfaceFacts& facts = kInterfaces[static_cast<std::size_t>(index)];
    InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(index)];
    const wxString name = facts.name;

    auto* const adapter = MakeChild<wxStaticBoxSizer>(wxVERTICAL, group, "Which host adapter to use:");
    wxWindow* const box = adapter->GetStaticBox();
    wxFlexGridSizer* const rows = MakeRows(*this);
    controls.adapterIp = AddRow(
        rows, box, facts.adapterIpLabel,
        [&] { return MakeChild<IpAddressCtrl>(box, facts.adapterIp, "Host adapter IP address of " + name); },
        "(required)");
    rows->AddStretchSpacer();
    rows->Add(MakeChild<wxStaticText>(box, wxID_ANY, "-- or --"), wxSizerFlags().CentreHorizontal());
    rows->AddStretchSpacer();
    controls.adapterMac = AddRow(
        rows, box, facts.adapterMacLabel,
        [&] { return MakeChild<MacEntryCtrl>(box, facts.adapterMac, "Host adapter MAC address of " + name); },
        "(required)");
    adapter->Add(rows, wxSizerFlags().Expand().Border(wxALL, Gap(*this)));
    return adapter;
}

void CParametersDlg::Fill(InterfaceControls& controls, const InterfaceParameters& parameters) {
    (parameters.tapMode ? controls.tap : controls.tun)->SetValue(true);
    controls.guestIp->SetText(parameters.guestIpText);
    controls.guestMac->SetMac(parameters.guestMacText);
    const bool byAddress = controls.adapterIp->SetText(parameters.adapterIpText);
    controls.adapterMac->SetMac(byAddress ? std::wstring() : parameters.adapterMacText);
}

bool CParametersDlg::TransferDataToWindow() {
    Fill(m_interfaces[0], m_parameters.interface1);
    Fill(m_interfaces[1], m_parameters.interface2);
    m_useTwo->SetValue(m_parameters.useTwoInterfaces);
    ApplyUse();
    m_interfaces[0].guestIp->SetFocus();
    return true;
}

void CParametersDlg::ApplyUse() {
    for (InterfaceControls& controls : m_interfaces) {
        const bool used = &controls == &m_interfaces[0] || m_useTwo->GetValue();
        controls.tun->Enable(used);
        controls.tap->Enable(used);
        controls.guestIp->Enable(used);
        controls.guestMac->Enable(used);
        controls.adapterIp->Enable(used && TrimBlanks(controls.adapterMac->GetMac()).empty());
        controls.adapterMac->Enable(used && controls.adapterIp->IsBlank());
    }
}

void CParametersDlg::OnAdapterIp(InterfaceControls& controls) {
    const bool blank = controls.adapterIp->IsBlank();
    if (!blank) {
        controls.adapterMac->SetMac(std::wstring());
    }
    controls.adapterMac->Enable(blank);
}

void CParametersDlg::OnAdapterMac(InterfaceControls& controls) {
    const bool empty = controls.adapterMac->GetMac().empty();
    if (!empty) {
        controls.adapterIp->Clear();
    }
    controls.adapterIp->Enable(empty);
}

InterfaceParameters CParametersDlg::Read(const InterfaceControls& controls) const {
    return {controls.tap->GetValue(), TextOf(*controls.guestIp), controls.guestMac->GetMac(),
            TextOf(*controls.adapterIp), controls.adapterMac->GetMac()};
}

wxWindow* CParametersDlg::ControlOf(const ParameterRefusal& refusal) const {
    const InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(refusal.interfaceIndex)];
    switch (refusal.field) {
    case ParameterField::GuestIp:
        return controls.guestIp;
    case ParameterField::GuestMac:
        return controls.guestMac;
    case ParameterField::AdapterIp:
        return controls.adapterIp;
    case ParameterField::AdapterMac:
        break;
    }
    return controls.adapterMac;
}

bool CParametersDlg::Validate() {
    m_confirmed = m_parameters;
    m_confirmed.interface1 = Read(m_interfaces[0]);
    m_confirmed.interface2 = Read(m_interfaces[1]);
    m_confirmed.useTwoInterfaces = m_useTwo->GetValue();
    const auto refusal = CheckParameters(m_confirmed, m_host, m_library);
    return !refusal || ErrorBalloon(ControlOf(*refusal), refusal->title, refusal->text);
}

bool CParametersDlg::TransferDataFromWindow() {
    m_parameters = m_confirmed;
    return true;
}

} // namespace vnxtest
