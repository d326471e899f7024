#include "ui/frame/advice_bar.h"

#include <algorithm>

#include <wx/artprov.h>
#include <wx/button.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "helpui/help_book.h"
#include "ui/dialogs/dialog_layout.h"
#include "widgets/accessible_name.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr int kHelpTopic = 397; // of the page with all findings

wxBitmapBundle IconOf(Severity severity) {
    const wxArtID id = severity == Severity::Problem   ? wxART_ERROR
                       : severity == Severity::Warning ? wxART_WARNING
                                                       : wxART_INFORMATION;
    return wxArtProvider::GetBitmapBundle(id, wxART_MENU);
}

} // namespace

CAdviceBar::CAdviceBar(wxWindow* parent) : wxPanel(parent) {
    Hide();
    SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_INFOBK));
    SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_INFOTEXT));
    const int gap = Gap(*this);
    auto* const row = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    m_icon = MakeChild<wxStaticBitmap>(this, wxID_ANY, IconOf(Severity::Problem));
    row->Add(m_icon, wxSizerFlags().Top().Border(wxALL, gap));
    m_label = MakeChild<wxStaticText>(this, wxID_ANY, wxString());
    m_label->SetForegroundColour(GetForegroundColour());
    row->Add(m_label, wxSizerFlags(1).CentreVertical().Border(wxTOP | wxBOTTOM, gap));
    const auto add = [&](const wxString& label, void (CAdviceBar::*act)()) {
        auto* const button = MakeChild<wxButton>(this, wxID_ANY, label);
        button->Bind(wxEVT_BUTTON, [this, act](wxCommandEvent&) { (this->*act)(); });
        row->Add(button, wxSizerFlags().Top().Border(wxALL, gap));
    };
    add("&More", &CAdviceBar::OpenPage);
    add("&Dismiss", &CAdviceBar::Dismiss);
    SetSizer(row);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        CallAfter(&CAdviceBar::WrapText);
    });
}

void CAdviceBar::Begin() {
    m_dismissed.clear();
    Tell({});
}

void CAdviceBar::Tell(Findings findings) {
    std::erase_if(findings, [this](const Finding& each) {
        return m_dismissed.contains({std::string(each.id), each.interfaceNumber});
    });
    m_findings = std::move(findings);
    ShowFirst();
}

void CAdviceBar::ShowFirst() {
    const bool show = !m_findings.empty();
    if (show) {
        const Finding& finding = m_findings.front();
        if (const wxString text(finding.Text()); text != m_text) {
            m_text = text;
            m_icon->SetBitmap(IconOf(finding.severity));
            SetAccessibleName(*this, "Advice: " + m_text);
            m_wrappedAt = 0;
        }
    }
    if (show != IsShown()) {
        Show(show);
        GetParent()->Layout();
    }
    if (show) {
        WrapText();
    }
}

// The text takes as many lines as it needs beside the buttons, whose width does not change.
void CAdviceBar::WrapText() {
    const int width = m_label->GetSize().x;
    if (!IsShown() || width <= 0 || width == m_wrappedAt) {
        return;
    }
    m_wrappedAt = width;
    m_label->SetLabelText(m_text);
    m_label->Wrap(width);
    // Its longest line is no reason for the window to be wide.
    m_label->SetMinSize(wxSize(1, m_label->GetBestSize().y));
    GetParent()->Layout();
}

void CAdviceBar::OpenPage() {
    if (HelpBook* const book = HelpBook::Current(); book != nullptr && !m_findings.empty()) {
        const std::string page = m_findings.front().Page();
        book->OpenTopic(this, {kHelpTopic, page});
    }
}

void CAdviceBar::Dismiss() {
    if (m_findings.empty()) {
        return;
    }
    m_dismissed.emplace(m_findings.front().id, m_findings.front().interfaceNumber);
    m_findings.erase(m_findings.begin());
    ShowFirst();
}

} // namespace vnxtest
