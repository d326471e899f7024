#include "ui/debug_flags_dialog.h"

#include <array>

#include <wx/checkbox.h>
#include <wx/sizer.h>
#include <wx/statbox.h>

#include "helpui/dialog_ids.h"
#include "ui/dialog_layout.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

namespace ids = debug_flags_control;

struct TraceBox {
    int id;
    std::uint32_t bit;
    const char* label;
};

// In the order in which they stand.
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
    SetUpHelp(kDialogDebugFlags);
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
