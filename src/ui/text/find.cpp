#include "ui/text/find.h"

#include <algorithm>
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

OutputFinder::OutputFinder(COutputText& text, Tell tell) : m_text(text), m_tell(std::move(tell)) {
    m_text.Bind(wxEVT_STC_UPDATEUI, &OutputFinder::OnSelection, this);
}

OutputFinder::~OutputFinder() {
    m_text.Unbind(wxEVT_STC_UPDATEUI, &OutputFinder::OnSelection, this);
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
        // Above the middle, where matches are shown.
        const wxSize free = parent->GetClientSize() - m_dialog->GetSize();
        m_dialog->SetPosition(parent->ClientToScreen(wxPoint(std::max(0, free.x), 0)));
    }
    // What was said was said of another search.
    for (const wxEventTypeTag<wxCommandEvent>& changed : {wxEVT_TEXT, wxEVT_CHECKBOX, wxEVT_RADIOBOX}) {
        m_dialog->Bind(changed, [this](wxCommandEvent& event) {
            TakeBack();
            event.Skip();
        });
    }
    const auto find = [this](wxFindDialogEvent&) { FindNext(); };
    m_dialog->Bind(wxEVT_FIND, find);
    m_dialog->Bind(wxEVT_FIND_NEXT, find);
    m_dialog->Bind(wxEVT_FIND_CLOSE, [this](wxFindDialogEvent&) {
        TakeBack();
        CloseDialog();
        m_text.SetFocus();
    });
    m_dialog->Show();
}

void OutputFinder::Find(int flags) {
    if (!HasText()) {
        return;
    }
    TakeBack();
    switch (m_text.FindText(m_data.GetFindString(), flags)) {
    case COutputText::Found::Ahead:
        break;
    case COutputText::Found::Wrapped:
        Say((flags & wxFR_DOWN) != 0 ? "Search wrapped to the beginning of the report"
                                     : "Search wrapped to the end of the report");
        break;
    case COutputText::Found::Nothing:
        wxBell();
        Say(wxString::Format("Cannot find \"%s\"", m_data.GetFindString()));
        break;
    }
}

void OutputFinder::Say(const wxString& message) {
    m_said = message;
    m_text.GetSelection(&m_from, &m_to);
    m_tell(m_said, true);
}

void OutputFinder::TakeBack() {
    if (!m_said.empty()) {
        m_tell(m_said, false);
        m_said.clear();
    }
}

// Who moves on looks for something else. A caret that follows the end does so by itself.
void OutputFinder::OnSelection(wxStyledTextEvent& event) {
    event.Skip();
    long from = 0;
    long to = 0;
    m_text.GetSelection(&from, &to);
    if ((from != m_from || to != m_to) && !m_text.IsAtEnd()) {
        TakeBack();
    }
}

} // namespace vnxtest
