// The adapter picker: the host's adapters in a list, of which the user chooses one for an interface of the
// guest. User-interface thread.
#pragma once

#include <string>

#include "helpui/help_button_wnd.h"
#include "hostnet/host_network.h"

class wxListBox;

namespace vnxtest {

class CAdaptersDlg final : public CHelpButtonDlg {
public:
    // The adapter that `named` names by its IP or MAC address is selected at first, else the first that can
    // be chosen.
    CAdaptersDlg(wxWindow* parent, const HostNetwork& host, const std::wstring& named);

    // The selected adapter, which is the one that is opened by its addresses; null if there is none.
    const HostAdapter* Chosen() const;

private:
    void MakeList(const wxString& accessibleName);
    void Select(const std::wstring& named);
    void OnSelect();

    const HostNetwork& m_host;
    wxListBox* m_list = nullptr;
};

} // namespace vnxtest
