#include "ui/dialogs/debug_flags_dialog.h"

#include <array>

#include <wx/checkbox.h>
#include <wx/sizer.h>
#include <wx/statbox.h>

#include "ui/dialogs/dialog_layout.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kOldNewValues = 1021;
constexpr int kPacketContents = 1022;
constexpr int kArpRead = 1023;
constexpr int kArpWritten = 1024;
constexpr int kOtherRead = 1025;
constexpr int kOtherWritten = 1026;
constexpr int kEnable = 1027;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6500,
     L"Debug Flags",
     L"Use this dialog to choose whether the Vnetx library writes debugging messages, and which."},
    {{ids::kOldNewValues},
     6501,
     L"Old/New Values",
     L"Check this box to see the value before and after each change of a setting of an interface."},
    {{ids::kPacketContents},
     6502,
     L"Packet Contents",
     L"Check this box to see the contents of each traced packet besides its summary."},
    {{ids::kArpRead},
     6503,
     L"ARP Packets Read",
     L"Check this box to see each ARP packet that is read from an interface."},
    {{ids::kArpWritten},
     6504,
     L"ARP Packets Written",
     L"Check this box to see each ARP packet that is written to an interface."},
    {{ids::kOtherRead},
     6505,
     L"Other Packets Read",
     L"Check this box to see each packet other than ARP that is read from an interface."},
    {{ids::kOtherWritten},
     6506,
     L"Other Packets Written",
     L"Check this box to see each packet other than ARP that is written to an interface."},
    {{ids::kEnable},
     6507,
     L"Enable Debugging Messages",
     L"Check this box to have debugging messages written at all. While it is cleared the boxes below keep their check marks but have no effect."},
};

constexpr HelpTable kHelp{136, {390, "debug_flags.html"}, kControlHelp};

struct TraceBox {
    int id;
    std::uint32_t bit;
    const char* label;
};

// In the order of the dialog.
constexpr std::array kTraceBoxes = {
    TraceBox{ids::kOldNewValues, 0x80000000, " Old/&New values"},
    TraceBox{ids::kArpRead, 0x00008000, " ARP packets &read"},
    TraceBox{ids::kArpWritten, 0x00000080, " ARP packets &written"},
    TraceBox{ids::kOtherRead, 0x00004000, " Other packets r&ead"},
    TraceBox{ids::kOtherWritten, 0x00000040, " Other packets wr&itten"},
    TraceBox{ids::kPacketContents, 0x40000000, " &Packet contents"},
};

} // namespace

CDebugFlagsDialog::CDebugFlagsDialog(wxWindow* parent, bool enabled, std::uint32_t flags)
    : CHelpButtonDlg(parent, wxID_ANY, "Set Debug Flags"), m_enabled(enabled), m_flags(flags) {
    SetUpHelp(kHelp);
    const int gap = Gap(*this);
    auto* const content = MakeChild<wxBoxSizer>(wxVERTICAL);
    m_enableBox = MakeChild<wxCheckBox>(this, ids::kEnable, " Ena&ble debugging messages:");
    m_enableBox->SetValue(enabled);
    m_enableBox->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { OnEnable(); });
    content->Add(m_enableBox, wxSizerFlags().Border(wxBOTTOM, 2 * gap));

    auto* const group = MakeChild<wxStaticBoxSizer>(wxVERTICAL, this, " What to trace: ");
    for (const TraceBox& entry : kTraceBoxes) {
        auto* const box = MakeChild<wxCheckBox>(group->GetStaticBox(), entry.id, entry.label);
        box->SetValue((flags & entry.bit) != 0);
        box->Bind(wxEVT_CHECKBOX, [this, id = entry.id](wxCommandEvent&) { OnTraceBox(id); });
        m_bits[entry.id] = entry.bit;
        m_boxes[entry.id] = box;
        group->Add(box, wxSizerFlags().Border(wxALL, gap / 2));
    }
    content->Add(group, wxSizerFlags().Expand());
    FinishDialog(*this, content);
    OnEnable();
    m_enableBox->SetFocus();
}

void CDebugFlagsDialog::OnEnable() {
    m_enabled = m_enableBox->GetValue();
    for (const auto& [id, box] : m_boxes) {
        box->Enable(m_enabled);
    }
}

void CDebugFlagsDialog::OnTraceBox(int id) {
    m_flags &= ~m_bits[id];
    if (m_boxes[id]->GetValue()) {
        m_flags |= m_bits[id];
    }
}

} // namespace vnxtest
