// The buffer sizes dialog: two sizes, in bytes for the caller and in K bytes for the user.
#pragma once

#include <cstdint>

#include "helpui/help_button_wnd.h"

namespace vnxtest {

class NumberEntry;

class CBufferSizesDlg final : public CHelpButtonDlg {
public:
    // Both in bytes.
    CBufferSizesDlg(wxWindow* parent, std::uint32_t driverSize, std::uint32_t dllSize);

    // The confirmed sizes in bytes, after OK.
    std::uint32_t DriverSize() const { return m_driverSize; }
    std::uint32_t DllSize() const { return m_dllSize; }

protected:
    bool TransferDataToWindow() override;
    bool Validate() override;

private:
    std::uint32_t m_driverSize;
    std::uint32_t m_dllSize;
    NumberEntry* m_driver = nullptr;
    NumberEntry* m_dll = nullptr;
};

} // namespace vnxtest
