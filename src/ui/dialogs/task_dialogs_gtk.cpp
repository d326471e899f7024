#include <memory>
#include <string>

#include <wx/collpane.h>
#include <wx/richmsgdlg.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "ui/dialogs/task_dialogs.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

constexpr const char* kMore = "More information";
constexpr const char* kLess = "Less information";
constexpr int kTextWidth = 70; // characters, before the text is wrapped

// The toolkit's dialog with the labels of the task dialog.
class ProceedDialog final : public wxRichMessageDialog {
public:
    using wxRichMessageDialog::wxRichMessageDialog;

protected:
    void AddMessageDialogDetails(wxSizer* sizer) override {
        auto* const pane = MakeChild<wxCollapsiblePane>(this, wxID_ANY, kMore);
        wxWindow* const inside = pane->GetPane();
        auto* const column = MakeChild<wxBoxSizer>(wxVERTICAL);
        auto* const text = MakeChild<wxStaticText>(inside, wxID_ANY, GetDetailedText());
        text->Wrap(kTextWidth * GetCharWidth());
        column->Add(text, wxSizerFlags().Border(wxALL, FromDIP(6)));
        inside->SetSizer(column);
        // Not skipped: the toolkit's handler, which comes after this one, would set its own labels.
        Bind(wxEVT_COLLAPSIBLEPANE_CHANGED, [this](wxCollapsiblePaneEvent& event) {
            m_detailsPane->SetLabel(event.GetCollapsed() ? kMore : kLess);
        });
        m_detailsPane = pane;
        sizer->Add(pane, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(10)));
    }
};

} // namespace

int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question) {
    const auto text = [](std::wstring_view view) { return wxString(std::wstring(view)); };
    ProceedDialog dialog(parent, text(question.mainInstruction), text(question.title),
                         wxOK | wxCANCEL | wxCANCEL_DEFAULT | wxICON_WARNING | wxCENTRE);
    dialog.SetOKCancelLabels("&Proceed", "Cancel");
    dialog.SetExtendedMessage(text(question.content));
    dialog.ShowDetailedText(text(question.expandedInformation));
    return dialog.ShowModal() == wxID_OK ? kProceedButton : kCancelButton;
}

int ShowSaveTaskDialog(wxWindow* parent, const wxString& name) {
    wxMessageDialog prompt(parent, wxString::Format("Do you want to save changes to %s?", name), kProductName,
                           wxYES_NO | wxCANCEL | wxCANCEL_DEFAULT | wxICON_NONE | wxCENTRE);
    prompt.SetYesNoCancelLabels("&Save", "Do&n't Save", "Cancel");
    switch (prompt.ShowModal()) {
    case wxID_YES:
        return kSaveButton;
    case wxID_NO:
        return kDontSaveButton;
    case wxID_CANCEL:
        return kCancelButton;
    default:
        return 0;
    }
}

} // namespace vnxtest
