#include "ui/frame/advice_bar.h"

#include <algorithm>

#include <wx/arrstr.h>
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
constexpr int kLargestPart = 4; // of the window's height that the text takes: that part of it
constexpr int kFewestLines = 2;

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
            m_wrappedAt = wxSize();
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

// The text takes as many lines as it needs beside the buttons, whose width does not change. In a small window
// its end is left out, and in the tool tip.
void CAdviceBar::WrapText() {
    const wxSize room(m_label->GetSize().x, GetParent()->GetClientSize().y);
    if (!IsShown() || room.x <= 0 || room == m_wrappedAt) {
        return;
    }
    m_wrappedAt = room;
    m_label->SetLabelText(m_text);
    m_label->Wrap(room.x);
    wxArrayString lines = wxSplit(m_label->GetLabelText(), '\n', '\0');
    const int most = std::max(kFewestLines, room.y / kLargestPart / m_label->GetCharHeight());
    const bool cut = lines.size() > static_cast<std::size_t>(most);
    if (cut) {
        lines.resize(static_cast<std::size_t>(most));
        // The last word makes room for the dots.
        m_label->SetLabelText(wxJoin(lines, '\n', '\0').BeforeLast(' ') + "...");
    }
    m_label->SetToolTip(cut ? m_text : wxString());
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
