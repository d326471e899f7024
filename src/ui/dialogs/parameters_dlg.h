// The parameters dialog: mode, guest addresses and host adapter of interface 1 and, if used, of interface
// 2. A host adapter is named by its IP or by its MAC address; while one holds text the other is disabled.
// Everything is checked on OK; a refusal is a balloon on its control.
#pragma once

#include <array>

#include "guest/parameters_check.h"
#include "helpui/help_button_wnd.h"

class wxCheckBox;
class wxRadioButton;
class wxSizer;

namespace vnxtest {

class IpAddressCtrl;
class MacEntryCtrl;

class CParametersDlg final : public CHelpButtonDlg {
public:
    // `parameters` holds the values to show; OK puts the confirmed ones there, Cancel leaves it alone.
    CParametersDlg(wxWindow* parent, const HostNetwork& host, VnetxLibrary& library,
                   GuestParameters& parameters);

protected:
    bool TransferDataToWindow() override;
    bool Validate() override;
    bool TransferDataFromWindow() override;

private:
    struct InterfaceControls {
        wxRadioButton* tun = nullptr;
        wxRadioButton* tap = nullptr;
        IpAddressCtrl* guestIp = nullptr;
        MacEntryCtrl* guestMac = nullptr;
        IpAddressCtrl* adapterIp = nullptr;
        MacEntryCtrl* adapterMac = nullptr;
    };

    // The group of an interface, with its guest's addresses and its host adapter.
    wxSizer* MakeInterface(int index, const wxString& title);
    wxSizer* MakeGuest(int index, wxWindow* box);
    wxSizer* MakeAdapter(int index, wxWindow* group);
    void Fill(InterfaceControls& controls, const InterfaceParameters& parameters);
    InterfaceParameters Read(const InterfaceControls& controls) const;
    // Enables the controls that apply, after the box was clicked or an adapter was typed.
    void ApplyUse();
    void OnAdapterIp(InterfaceControls& controls);
    void OnAdapterMac(InterfaceControls& controls);
    wxWindow* ControlOf(const ParameterRefusal& refusal) const;

    const HostNetwork& m_host;
    VnetxLibrary& m_library;
    GuestParameters& m_parameters;
    GuestParameters m_confirmed;
    std::array<InterfaceControls, 2> m_interfaces;
    wxCheckBox* m_useTwo = nullptr;
};

} // namespace vnxtest
