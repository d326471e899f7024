// The debug flags dialog: whether debugging messages are written, and which. Bits without a box are kept.
#pragma once

#include <cstdint>
#include <map>

#include "helpui/help_button_wnd.h"

class wxCheckBox;

namespace vnxtest {

class CDebugFlagsDialog final : public CHelpButtonDlg {
public:
    CDebugFlagsDialog(wxWindow* parent, bool enabled, std::uint32_t flags);

    // The choices, after OK.
    bool IsEnabled() const { return m_enabled; }
    std::uint32_t Flags() const { return m_flags; }

private:
    void OnEnable();
    void OnTraceBox(int id);

    bool m_enabled;
    std::uint32_t m_flags;
    std::map<int, std::uint32_t> m_bits; // of each trace box
    wxCheckBox* m_enableBox = nullptr;
    std::map<int, wxCheckBox*> m_boxes;
};

} // namespace vnxtest
