#include "ui/frame/full_report_bar.h"

#include <utility>

#include <wx/button.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "ui/dialogs/dialog_layout.h"
#include "widgets/make_child.h"

namespace vnxtest {

CFullReportBar::CFullReportBar(wxWindow* parent, std::function<void()> save, std::function<void()> startOver)
    : wxPanel(parent) {
    Hide();
    SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_INFOBK));
    SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_INFOTEXT));
    const int gap = Gap(*this);
    auto* const row = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    auto* const text =
        MakeChild<wxStaticText>(this, wxID_ANY, "The report is full: what follows is left out.",
                                wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_END);
    text->SetForegroundColour(GetForegroundColour());
    row->Add(text, wxSizerFlags(1).CentreVertical().Border(wxALL, gap));
    const auto add = [&](const wxString& label, std::function<void()> act) {
        auto* const button = MakeChild<wxButton>(this, wxID_ANY, label);
        button->Bind(wxEVT_BUTTON, [act = std::move(act)](wxCommandEvent&) { act(); });
        row->Add(button, wxSizerFlags().CentreVertical().Border(wxALL, gap));
    };
    add("&Save", std::move(save));
    add("&New report", std::move(startOver));
    SetSizer(row);
}

void CFullReportBar::ShowWhile(bool full) {
    if (full != IsShown()) {
        Show(full);
        GetParent()->Layout();
    }
}

} // namespace vnxtest
