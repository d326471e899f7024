#include "ui/dialogs/buffer_sizes_dlg.h"

#include <wx/sizer.h>

#include "core/run_settings.h"
#include "ui/dialogs/dialog_layout.h"
#include "widgets/entries/number_entry.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kDriver = 1017;
constexpr int kDll = 1018;
constexpr int kDriverSpin = 1019;
constexpr int kDllSpin = 1020;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6400,
     L"Buffer Sizes",
     L"Use this dialog to define how much memory is set aside for packets. The sizes are used whenever an interface is opened and are not kept when the program ends."},
    {{ids::kDriver, ids::kDriverSpin},
     6401,
     L"Driver Buffer Size",
     L"Enter here the size of the packet driver's capture buffer, 64 to 16384 K bytes. A larger buffer loses fewer packets when many arrive at once. The default is 1024 K bytes.",
     {381, "buffer_sizes.html#driver"}},
    {{ids::kDll, ids::kDllSpin},
     6402,
     L"DLL Buffer Size",
     L"Enter here the size of the packet buffer of the Vnetx library, 16 to 1024 K bytes. The default is 64 K bytes.",
     {382, "buffer_sizes.html#dll"}},
};

constexpr HelpTable kHelp{134, {380, "buffer_sizes.html"}, kControlHelp};

} // namespace

CBufferSizesDlg::CBufferSizesDlg(wxWindow* parent, std::uint32_t driverSize, std::uint32_t dllSize)
    : CHelpButtonDlg(parent, wxID_ANY, "Define Buffer Sizes..."), m_driverSize(driverSize),
      m_dllSize(dllSize) {
    SetUpHelp(kHelp);
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
    const auto setRange = [](NumberEntry& entry, const NumberRange& range) {
        entry.SetRange(static_cast<int>(range.lowest), static_cast<int>(range.highest));
    };
    setRange(*m_driver, kDriverBufferRange);
    setRange(*m_dll, kDllBufferRange);
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
