#include "ui/buffer_sizes_dlg.h"

#include <wx/sizer.h>

#include "helpui/dialog_ids.h"
#include "ui/dialog_layout.h"
#include "widgets/make_child.h"
#include "widgets/number_entry.h"

namespace vnxtest {

namespace {
namespace ids = buffer_sizes_control;
constexpr std::uint32_t kKilo = 1024;
} // namespace

CBufferSizesDlg::CBufferSizesDlg(wxWindow* parent, std::uint32_t driverSize, std::uint32_t dllSize)
    : CHelpButtonDlg(parent, wxID_ANY, "Define Buffer Sizes..."), m_driverSize(driverSize),
      m_dllSize(dllSize) {
    SetUpHelp(kDialogBufferSizes);
    wxFlexGridSizer* const rows = MakeRows(*this);
    m_driver = AddRow(
        rows, this, "&Driver buffer size:",
        [this] {
            return MakeChild<NumberEntry>(this, ids::kDriver, ids::kDriverSpin,
                                          "Driver buffer size in K bytes");
        },
        "K bytes");
    m_dll = AddRow(
        rows, this, "D&LL buffer size:",
        [this] {
            return MakeChild<NumberEntry>(this, ids::kDll, ids::kDllSpin, "DLL buffer size in K bytes");
        },
        "K bytes");
    FinishDialog(*this, rows);
}

bool CBufferSizesDlg::TransferDataToWindow() {
    m_driver->SetRange(64, 16384);
    m_dll->SetRange(16, 1024);
    m_driver->SetPosition(static_cast<int>(m_driverSize / kKilo));
    m_dll->SetPosition(static_cast<int>(m_dllSize / kKilo));
    m_driver->SetFocus();
    return true;
}

bool CBufferSizesDlg::Validate() {
    int driver = 0;
    int dll = 0;
    if (!m_driver->Exchange(driver) || !m_dll->Exchange(dll)) {
        return false;
    }
    m_driverSize = static_cast<std::uint32_t>(driver) * kKilo;
    m_dllSize = static_cast<std::uint32_t>(dll) * kKilo;
    return true;
}

} // namespace vnxtest
