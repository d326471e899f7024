#include "ui/text/find.h"

#include <memory>

#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/utils.h>

#include "widgets/make_child.h"

namespace vnxtest {

namespace {
constexpr int kLongestOffer = 200; // characters of a selection that is offered to be found
} // namespace

OutputFinder::~OutputFinder() {
    CloseDialog();
}

void OutputFinder::CloseDialog() {
    if (m_dialog != nullptr) {
        m_dialog->Destroy();
        m_dialog = nullptr;
    }
}

void OutputFinder::ShowDialog(wxWindow* parent) {
    if (m_dialog != nullptr) {
        m_dialog->Raise();
        return;
    }
    const int length = m_text.GetSelectionEnd() - m_text.GetSelectionStart();
    if (length > 0 && length <= kLongestOffer) {
        const wxString selected = m_text.GetSelectedText();
        if (!selected.Contains("\n")) {
            m_data.SetFindString(selected);
        }
    }
    m_dialog = MakeChild<wxFindReplaceDialog>(parent, &m_data, "Find");
    // The toolkit's dialog gives its label a fixed width, too small for large fonts.
    for (wxWindow* const child : m_dialog->GetChildren()) {
        if (auto* const label = wxDynamicCast(child, wxStaticText)) {
            label->SetMinSize(label->GetBestSize());
        }
    }
    if (m_dialog->GetSizer() != nullptr) {
        m_dialog->GetSizer()->SetSizeHints(m_dialog);
    }
    const auto find = [this](wxFindDialogEvent&) { FindNext(); };
    m_dialog->Bind(wxEVT_FIND, find);
    m_dialog->Bind(wxEVT_FIND_NEXT, find);
    m_dialog->Bind(wxEVT_FIND_CLOSE, [this](wxFindDialogEvent&) {
        CloseDialog();
        m_text.SetFocus();
    });
    m_dialog->Show();
}

void OutputFinder::FindNext() {
    if (!HasText()) {
        return;
    }
    if (m_text.FindText(m_data.GetFindString(), m_data.GetFlags())) {
        m_tell(wxString());
        return;
    }
    wxBell();
    m_tell(wxString::Format("Cannot find \"%s\"", m_data.GetFindString()));
}

} // namespace vnxtest
