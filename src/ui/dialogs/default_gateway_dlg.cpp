#include "ui/dialogs/default_gateway_dlg.h"

#include <wx/sizer.h>
#include <wx/utils.h>

#include "hostnet/address_validation.h"
#include "ui/dialogs/dialog_layout.h"
#include "ui/dialogs/task_dialogs.h"
#include "widgets/balloon.h"
#include "widgets/entries/ip_address_ctrl.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kGatewayIp = 1000;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6300,
     L"Default Gateway",
     L"Use this dialog to define the default gateway. Packets for systems outside of the guest's own network are sent to it."},
    {{ids::kGatewayIp},
     6301,
     L"Gateway IP Address",
     L"Enter here the IP address of the default gateway. The address is checked with an ARP request before it is used."},
};

constexpr HelpTable kHelp{132, {335, "default_gateway.html"}, kControlHelp};

} // namespace

CDefaultGatewayDlg::CDefaultGatewayDlg(wxWindow* parent, HostNetwork& host)
    : CHelpButtonDlg(parent, wxID_ANY, "Define Default Gateway"), m_host(host) {
    SetUpHelp(kHelp);
    wxFlexGridSizer* const rows = MakeRows(*this);
    m_address = AddRow(rows, this, "Default &gateway:", [this] {
        return MakeChild<IpAddressCtrl>(this, ids::kGatewayIp, "IP address of the default gateway");
    });
    FinishDialog(*this, rows);
}

bool CDefaultGatewayDlg::TransferDataToWindow() {
    if (!m_host.DefaultGateway().IsZero()) {
        m_address->SetText(m_host.DefaultGatewayText());
    }
    m_address->SetFocus();
    return true;
}

bool CDefaultGatewayDlg::UseSilentGateway() {
    return ShowGatewayTaskDialog(
        this, wxString::Format("The gateway %s does not answer.", wxString(FormatIPAddr(m_gateway))),
        "It was asked for its hardware address and sent no reply. Without it packets for other subnets cannot be sent to the gateway in TAP mode.",
        "&Use the entered value.", "&Let me fix the error.");
}

bool CDefaultGatewayDlg::Validate() {
    const auto gateway = ValidateIPAddress(m_address->GetText().ToStdWstring());
    if (!gateway) {
        return ErrorBalloon(m_address, kIpAddressTitle, kInvalidIpAddress);
    }
    m_gateway = *gateway;
    bool responsive = false;
    {
        const wxBusyCursor busy;
        responsive = m_host.IsIPAddrResponsive(m_gateway, &m_gatewayMac, Ipv4Address());
    }
    if (!responsive && !UseSilentGateway()) {
        m_address->SetFocusField(0);
        return false;
    }
    return true;
}

bool CDefaultGatewayDlg::TransferDataFromWindow() {
    m_host.SetDefaultGateway(m_gateway, m_gatewayMac);
    return true;
}

} // namespace vnxtest
