#include "ui/dialogs/parameters_dlg.h"

#include <algorithm>
#include <utility>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/radiobut.h>
#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include "core/interface_helpers.h"
#include "ui/dialogs/adapters_dlg.h"
#include "ui/dialogs/dialog_layout.h"
#include "widgets/accessible_name.h"
#include "widgets/balloon.h"
#include "widgets/control_hints.h"
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
constexpr int kAdapterList1 = 1034;
constexpr int kAdapterList2 = 1035;
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
    {{ids::kAdapterList1, ids::kAdapterList2},
     6606,
     L"List of Host Adapters",
     L"Click here, or press F4 in the fields of the host adapter, to choose the adapter from a list instead of entering its address.",
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
    int tun, tap, guestIp, guestMac, adapterIp, adapterMac, adapterList;
    const char *tunLabel, *tapLabel, *guestIpLabel, *guestMacLabel, *adapterIpLabel, *adapterMacLabel;
    const char* name; // for screen readers
};

constexpr std::array<InterfaceFacts, 2> kInterfaces = {{
    {ids::kTun1, ids::kTap1, ids::kGuestIp1, ids::kGuestMac1, ids::kAdapterIp1, ids::kAdapterMac1,
     ids::kAdapterList1, "T&un", "&Tap",
     "&IP Address:", "&MAC Address:", "I&P Address:", "MAC A&ddress:", "interface 1"},
    {ids::kTun2, ids::kTap2, ids::kGuestIp2, ids::kGuestMac2, ids::kAdapterIp2, ids::kAdapterMac2,
     ids::kAdapterList2, "Tu&n", "T&ap",
     "IP Add&ress:", "MA&C Address:", "IP Addr&ess:", "MAC Addre&ss:", "interface 2"},
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
    // C is a field's. (Without a mnemonic the toolkit would take the button for its usual one, which has C.)
    if (wxWindow* const cancel = FindWindow(wxID_CANCEL)) {
        cancel->SetLabel("Cance&l");
    }
    m_useTwo->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { ApplyUse(); });
}

wxSizer* CParametersDlg::MakeInterface(int index, const wxString& title) {
    InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(index)];
    const int gap = Gap(*this);
    auto* const group = MakeChild<wxStaticBoxSizer>(wxHORIZONTAL, this, title);
    wxWindow* const box = group->GetStaticBox();
    Spaces spaces;
    group->Add(MakeGuest(index, box, spaces), wxSizerFlags(1).Expand().Border(wxALL, gap));
    group->Add(MakeAdapter(index, box, spaces), wxSizerFlags(1).Expand().Border(wxALL, gap));
    AlignRows(controls, spaces);
    controls.box = box;
    controls.guestIp->Bind(EVT_IP_ADDRESS_CHANGED,
                           [this, &controls](wxCommandEvent&) { FollowGuestIp(controls); });
    controls.adapterIp->Bind(EVT_IP_ADDRESS_CHANGED,
                             [this, &controls](wxCommandEvent&) { OnAdapterIp(controls); });
    controls.adapterMac->Bind(wxEVT_TEXT, [this, &controls](wxCommandEvent& event) {
        OnAdapterMac(controls);
        event.Skip();
    });
    return group;
}

wxSizer* CParametersDlg::MakeGuest(int index, wxWindow* box, Spaces& spaces) {
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
    guest->Add(mode);
    spaces.aboveGuest = guest->AddSpacer(0);
    wxFlexGridSizer* const rows = MakeRows(*this);
    controls.guestIp = AddRow(
        rows, box, facts.guestIpLabel,
        [&] { return MakeChild<IpAddressCtrl>(box, facts.guestIp, "Guest IP address of " + name); },
        "(required)");
    spaces.insideGuest = rows->AddSpacer(0);
    rows->AddSpacer(0);
    rows->AddSpacer(0);
    controls.guestMac = AddRow(
        rows, box, facts.guestMacLabel,
        [&] { return MakeChild<MacEntryCtrl>(box, facts.guestMac, "Guest MAC address of " + name); },
        "(optional)");
    guest->Add(rows, wxSizerFlags().Expand());
    return guest;
}

wxSizer* CParametersDlg::MakeAdapter(int index, wxWindow* group, Spaces& spaces) {
    const InterfaceFacts& facts = kInterfaces[static_cast<std::size_t>(index)];
    InterfaceControls& controls = m_interfaces[static_cast<std::size_t>(index)];
    const wxString name = facts.name;

    auto* const adapter = MakeChild<wxStaticBoxSizer>(wxVERTICAL, group, "Which host adapter to use:");
    wxWindow* const box = spaces.adapterBox = adapter->GetStaticBox();
    spaces.aboveAdapter = adapter->AddSpacer(0);
    wxFlexGridSizer* const rows = MakeRows(*this);
    controls.adapterIp = AddRow(
        rows, box, facts.adapterIpLabel,
        [&] { return MakeChild<IpAddressCtrl>(box, facts.adapterIp, "Host adapter IP address of " + name); },
        "(required)");
    rows->AddStretchSpacer();
    rows->Add(MakeChild<wxStaticText>(box, wxID_ANY, "-- or --"), wxSizerFlags().Centre());
    controls.list =
        MakeChild<wxButton>(box, facts.adapterList, "...", wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    controls.list->SetMinSize(wxSize(controls.list->GetBestSize().y, -1)); // not narrower than high
    SetAccessibleName(*controls.list, "List of host adapters for " + name);
    controls.list->SetToolTip("Choose from the adapters of this host (F4)");
    controls.list->Bind(wxEVT_BUTTON, [this, &controls](wxCommandEvent&) { ChooseAdapter(controls); });
    rows->Add(controls.list, wxSizerFlags().CentreVertical());
    // The keys that open the list of a combo box.
    box->Bind(wxEVT_CHAR_HOOK, [this, &controls](wxKeyEvent& event) {
        const bool down = event.GetKeyCode() == WXK_DOWN && event.GetModifiers() == wxMOD_ALT;
        if (down || (event.GetKeyCode() == WXK_F4 && !event.HasAnyModifiers())) {
            ChooseAdapter(controls);
        } else {
            event.Skip();
        }
    });
    controls.adapterMac = AddRow(
        rows, box, facts.adapterMacLabel,
        [&] { return MakeChild<MacEntryCtrl>(box, facts.adapterMac, "Host adapter MAC address of " + name); },
        "(required)");
    adapter->Add(rows, wxSizerFlags().Expand().Border(wxALL, Gap(*this)));
    return adapter;
}

void CParametersDlg::AlignRows(const InterfaceControls& controls, const Spaces& spaces) {
    const int gap = Gap(*this);
    int label = 0;
    int border = 0;
    spaces.adapterBox->GetBordersForSizer(&label, &border);
    const int adapter = label + gap;
    const int guest = controls.tun->GetBestSize().y;
    const int top = std::max(guest + gap, adapter); // of the first rows
    spaces.aboveGuest->AssignSpacer(0, top - guest);
    spaces.aboveAdapter->AssignSpacer(0, top - adapter);
    spaces.insideGuest->AssignSpacer(0, controls.list->GetBestSize().y);
}

void CParametersDlg::Fill(InterfaceControls& controls, const InterfaceParameters& parameters) {
    (parameters.tapMode ? controls.tap : controls.tun)->SetValue(true);
    controls.guestIp->SetText(parameters.guestIpText);
    FollowGuestIp(controls);
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
        controls.box->Enable(used); // with all in it, labels too
        ShowLabelsAsEnabled(*controls.box);
        EnableRow(*controls.guestIp, true);
        EnableRow(*controls.guestMac, true);
        EnableRow(*controls.adapterIp, TrimBlanks(controls.adapterMac->GetMac()).empty());
        EnableRow(*controls.adapterMac, controls.adapterIp->IsBlank());
    }
}

void CParametersDlg::FollowGuestIp(InterfaceControls& controls) {
    const std::optional<Ipv4Address> ip = ParseIPAddress(controls.guestIp->GetText().ToStdWstring());
    if (!ip) {
        return; // it is being typed
    }
    const MacAddress before =
        std::exchange(controls.ownMac, GuestMacOf(m_library, *ip)).value_or(MacAddress());
    if (ParseMACAddress(controls.guestMac->GetMac()) == before) {
        controls.guestMac->SetMac(FormatMACAddr(*controls.ownMac));
    }
}

void CParametersDlg::ChooseAdapter(InterfaceControls& controls) {
    const std::wstring ip = TextOf(*controls.adapterIp);
    CAdaptersDlg picker(this, m_host, ip.empty() ? controls.adapterMac->GetMac() : ip);
    if (picker.ShowModal() != wxID_OK) {
        return;
    }
    if (const HostAdapter* const adapter = picker.Chosen()) {
        const bool byIp = !adapter->address.IsZero();
        controls.adapterIp->Clear();
        controls.adapterMac->SetMac(byIp ? std::wstring() : FormatMACAddr(adapter->mac));
        if (byIp) {
            controls.adapterIp->SetText(FormatIPAddr(adapter->address));
        }
        ApplyUse();
        (byIp ? static_cast<wxWindow*>(controls.adapterIp) : controls.adapterMac)->SetFocus();
    }
}

void CParametersDlg::OnAdapterIp(InterfaceControls& controls) {
    const bool blank = controls.adapterIp->IsBlank();
    if (!blank) {
        controls.adapterMac->SetMac(std::wstring());
    }
    EnableRow(*controls.adapterMac, blank);
}

void CParametersDlg::OnAdapterMac(InterfaceControls& controls) {
    const bool empty = controls.adapterMac->GetMac().empty();
    if (!empty) {
        controls.adapterIp->Clear();
    }
    EnableRow(*controls.adapterIp, empty);
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
