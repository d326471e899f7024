// The parameters dialog: mode, guest addresses and host adapter of interface 1 and, if used, of interface
// 2. A host adapter is named by its IP or by its MAC address; while one holds text the other is disabled. It
// can be chosen from a list, too. A guest MAC that is the one made of the guest IP follows that.
// Everything is checked on OK; a refusal is a balloon on its control.
#pragma once

#include <array>
#include <optional>

#include "guest/parameters_check.h"
#include "helpui/help_button_wnd.h"

class wxButton;
class wxCheckBox;
class wxRadioButton;
class wxSizer;
class wxSizerItem;
class wxStaticBox;

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
        wxButton* list = nullptr; // opens the adapter picker
        wxWindow* box = nullptr;  // around all of them
        std::optional<MacAddress>
            ownMac{}; // the guest MAC made of the last whole guest IP; nullopt: none yet
    };

    // Spaces that are given their heights when all is made.
    struct Spaces {
        wxSizerItem* aboveGuest = nullptr;
        wxSizerItem* insideGuest = nullptr; // where the adapter's group has "-- or --"
        wxSizerItem* aboveAdapter = nullptr;
        wxStaticBox* adapterBox = nullptr;
    };

    // The group of an interface, with its guest's addresses and its host adapter.
    wxSizer* MakeInterface(int index, const wxString& title);
    wxSizer* MakeGuest(int index, wxWindow* box, Spaces& spaces);
    wxSizer* MakeAdapter(int index, wxWindow* group, Spaces& spaces);
    // Puts the guest's rows beside those of its adapter.
    void AlignRows(const InterfaceControls& controls, const Spaces& spaces);
    void Fill(InterfaceControls& controls, const InterfaceParameters& parameters);
    InterfaceParameters Read(const InterfaceControls& controls) const;
    // Enables the controls that apply, after the box was clicked or an adapter was typed.
    void ApplyUse();
    void FollowGuestIp(InterfaceControls& controls);
    void ChooseAdapter(InterfaceControls& controls);
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
