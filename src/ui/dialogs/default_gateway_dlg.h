// The default gateway dialog: the gateway's address, whose MAC address is asked for by ARP on OK. Without
// an answer the user decides whether to use it all the same.
#pragma once

#include "helpui/help_button_wnd.h"
#include "hostnet/host_network.h"

namespace vnxtest {

class IpAddressCtrl;

class CDefaultGatewayDlg final : public CHelpButtonDlg {
public:
    // OK sets the default gateway of `host`. Only while the guest is stopped.
    CDefaultGatewayDlg(wxWindow* parent, HostNetwork& host);

protected:
    bool TransferDataToWindow() override;
    bool Validate() override;
    bool TransferDataFromWindow() override;

private:
    bool UseSilentGateway();

    HostNetwork& m_host;
    IpAddressCtrl* m_address = nullptr;
    Ipv4Address m_gateway;
    MacAddress m_gatewayMac;
};

} // namespace vnxtest
