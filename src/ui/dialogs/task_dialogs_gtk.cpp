// The task dialogs of a system without such: an icon, the main instruction in bold, text, more information on
// demand, and buttons, laid out as the program's other dialogs.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <wx/artprov.h>
#include <wx/button.h>
#include <wx/collpane.h>
#include <wx/dcclient.h>
#include <wx/display.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "helpui/help_button_wnd.h"
#include "ui/dialogs/dialog_layout.h"
#include "ui/dialogs/task_dialogs.h"
#include "widgets/make_child.h"
#include "widgets/question_window.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

constexpr const char* kMore = "More information";
constexpr const char* kLess = "Less information";
constexpr int kTextWidth = 70; // characters, before the text is wrapped

// The buttons beside Cancel have the numbers from this one on.
constexpr int kFirstButton = kProceedButton;

constexpr ControlHelp kProceedTexts[] = {
    {{kWindowItself},
     6607,
     L"Question Before the Start",
     L"What you entered is unlikely to work, as the program sees it. You decide whether the guest is started all the same."},
    {{kFirstButton}, 6608, L"'Proceed' Button", L"Click Proceed to start the guest with what you entered."},
};
constexpr HelpTable kProceedHelp{138, {330, "proceed.html"}, kProceedTexts};

constexpr ControlHelp kSaveTexts[] = {
    {{kWindowItself},
     6609,
     L"Save Changes",
     L"The report has lines that are in no file. You decide whether they are saved."},
    {{kFirstButton},
     6610,
     L"'Save' Button",
     L"Click Save to save the report to its file, or to one you choose."},
    {{kFirstButton + 1},
     6611,
     L"'Don't Save' Button",
     L"Click Don't Save to go on without saving the report."},
};
constexpr HelpTable kSaveHelp{139, {398, "saving.html"}, kSaveTexts};

constexpr ControlHelp kGatewayTexts[] = {
    {{kWindowItself},
     6612,
     L"Silent Gateway",
     L"The gateway did not answer an ARP request. You decide whether its address is used all the same."},
    {{kFirstButton},
     6613,
     L"'Use the Entered Value' Button",
     L"Click here to define the gateway without a hardware address."},
};
constexpr HelpTable kGatewayHelp{140, {335, "default_gateway.html"}, kGatewayTexts};

class TaskDialog final : public CHelpButtonDlg {
public:
    TaskDialog(wxWindow* parent, const HelpTable& help, const wxString& title, const wxString& instruction,
               bool isWarning);

    void AddText(const wxString& text) { Add(this, *m_column, text); }
    void AddMoreInformation(const wxString& text);
    // Cancel is added, and is the default.
    int Ask(const std::vector<std::pair<int, wxString>>& buttons, const wxString& cancel = "Cancel");

private:
    wxStaticText* Add(wxWindow* parent, wxSizer& column, const wxString& text);

    void LimitMore();

    wxBoxSizer* m_content = nullptr;
    wxBoxSizer* m_column = nullptr;     // beside the icon
    wxScrolledWindow* m_more = nullptr; // with more information, if there is any
};

TaskDialog::TaskDialog(wxWindow* parent, const HelpTable& help, const wxString& title,
                       const wxString& instruction, bool isWarning)
    : CHelpButtonDlg(parent, wxID_ANY, title), m_content(MakeChild<wxBoxSizer>(wxHORIZONTAL)),
      m_column(MakeChild<wxBoxSizer>(wxVERTICAL)) {
    SetUpHelp(help);
    MakeAlert(*this);
    if (isWarning) {
        const wxBitmap icon = wxArtProvider::GetBitmap(wxART_WARNING, wxART_MESSAGE_BOX);
        m_content->Add(MakeChild<wxStaticBitmap>(this, wxID_ANY, icon),
                       wxSizerFlags().Border(wxRIGHT, 2 * Gap(*this)));
    }
    m_content->Add(m_column, wxSizerFlags(1));
    wxStaticText* const text = Add(this, *m_column, instruction);
    text->SetFont(text->GetFont().Bold());
    text->Wrap(text->GetMaxWidth());
    // The toolkit may still measure it with the font it had.
    wxClientDC bold(text);
    bold.SetFont(text->GetFont());
    text->SetMinSize(bold.GetMultiLineTextExtent(text->GetLabel()) + FromDIP(wxSize(4, 0)));
}

// Wrapped, so that it fits on a small screen.
wxStaticText* TaskDialog::Add(wxWindow* parent, wxSizer& column, const wxString& text) {
    auto* const label = MakeChild<wxStaticText>(parent, wxID_ANY, text);
    const int widest = wxDisplay(GetParent()).GetClientArea().width * 2 / 3;
    const int width = std::min(kTextWidth * GetCharWidth(), widest);
    label->SetMaxSize(wxSize(width, -1));
    label->Wrap(width);
    column.Add(label, wxSizerFlags().Border(wxBOTTOM, Gap(*this)));
    return label;
}

void TaskDialog::AddMoreInformation(const wxString& text) {
    auto* const pane = MakeChild<wxCollapsiblePane>(this, wxID_ANY, kMore, wxDefaultPosition, wxDefaultSize,
                                                    wxCP_DEFAULT_STYLE | wxCP_NO_TLW_RESIZE);
    m_more =
        MakeChild<wxScrolledWindow>(pane->GetPane(), wxID_ANY, wxDefaultPosition, wxDefaultSize, wxVSCROLL);
    m_more->SetName(kMore);
    auto* const lines = MakeChild<wxBoxSizer>(wxVERTICAL);
    Add(m_more, *lines, text);
    m_more->SetSizer(lines);
    auto* const column = MakeChild<wxBoxSizer>(wxVERTICAL);
    column->AddSpacer(Gap(*this));
    column->Add(m_more, wxSizerFlags(1).Expand());
    pane->GetPane()->SetSizer(column);
    pane->GetPane()->SetCanFocus(false); // no stop of the Tab key
    m_column->Add(pane, wxSizerFlags().Expand());
    Bind(wxEVT_COLLAPSIBLEPANE_CHANGED, [this, pane](wxCollapsiblePaneEvent& event) {
        pane->SetLabel(event.GetCollapsed() ? kMore : kLess);
        FitToContents(*this);
    });
}

// It is as high as its text, or else scrolls, so that the buttons stay on the screen. The keyboard scrolls it
// when it has the focus.
void TaskDialog::LimitMore() {
    const int caption = 3 * GetCharHeight();
    const int room =
        wxDisplay(GetParent()).GetClientArea().height - caption - GetSizer()->CalcMin().y - 2 * Gap(*this);
    const wxSize text = m_more->GetSizer()->CalcMin();
    const bool scrolls = text.y > room;
    m_more->SetScrollRate(0, scrolls ? GetCharHeight() : 0);
    m_more->SetCanFocus(scrolls);
    const int bar = scrolls ? std::max(0, wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this)) : 0;
    m_more->SetMinSize(wxSize(text.x + bar, std::min(text.y, std::max(room, 2 * GetCharHeight()))));
}

int TaskDialog::Ask(const std::vector<std::pair<int, wxString>>& buttons, const wxString& cancel) {
    auto* const row = MakeChild<wxStdDialogButtonSizer>();
    int number = kFirstButton;
    for (const auto& [id, label] : buttons) {
        auto* const button = MakeChild<wxButton>(this, id, label);
        GetHelp()->Assign(*button, number++);
        button->Bind(wxEVT_BUTTON, [this](wxCommandEvent& event) { EndModal(event.GetId()); });
        row->AddButton(button);
    }
    auto* const last = MakeChild<wxButton>(this, wxID_CANCEL, cancel);
    row->AddButton(last);
    row->Realize();
    FinishDialog(*this, m_content, *row, *last);
    if (m_more != nullptr) {
        LimitMore();
    }
    last->SetFocus();
    return ShowModal();
}

} // namespace

int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question) {
    const auto text = [](std::wstring_view view) { return wxString(std::wstring(view)); };
    TaskDialog dialog(parent, kProceedHelp, text(question.title), text(question.mainInstruction), true);
    dialog.AddText(text(question.content));
    dialog.AddMoreInformation(text(question.expandedInformation));
    return dialog.Ask({{wxID_OK, "&Proceed"}}) == wxID_OK ? kProceedButton : kCancelButton;
}

int ShowSaveTaskDialog(wxWindow* parent, const wxString& name) {
    TaskDialog dialog(parent, kSaveHelp, kProductName,
                      wxString::Format("Do you want to save changes to %s?", name), false);
    switch (dialog.Ask({{wxID_YES, "&Save"}, {wxID_NO, "Do&n't Save"}})) {
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

bool ShowGatewayTaskDialog(wxWindow* parent, const wxString& instruction, const wxString& content,
                           const wxString& use, const wxString& fix) {
    TaskDialog dialog(parent, kGatewayHelp, kProductName, instruction, true);
    dialog.AddText(content);
    return dialog.Ask({{wxID_OK, use}}, fix) == wxID_OK;
}

} // namespace vnxtest
