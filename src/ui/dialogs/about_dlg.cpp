#include "ui/dialogs/about_dlg.h"

#include <algorithm>

#include <wx/hyperlink.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>
#include <wx/uri.h>

#include "helpui/help_book.h"
#include "helpui/program_icons.h"
#include "platform/system/system_name.h"
#include "ui/dialogs/dialog_layout.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kVersionLine = 1028;
constexpr int kLegalNotice = 1029;
constexpr int kWebPage = 1030;
constexpr int kSupportMail = 1031;
constexpr int kHelpBook = 1032;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6000,
     L"About VNXTest64UD",
     L"This box names the program and its version, and shows where to get help."},
    {{ids::kVersionLine},
     6001,
     L"Version",
     L"This is the name and the version of the program. Please mention the version whenever you report a problem."},
    {{ids::kLegalNotice}, 6002, L"Legal Notice", L"This is the legal notice of the Netorra package."},
    {{ids::kWebPage}, 6003, L"Web Page", L"Click here to open the Netorra web page in your browser."},
    {{ids::kSupportMail},
     6004,
     L"Support Contact",
     L"Click here to write a mail to the support contact. Its subject is filled in with the name and the version of the program."},
    {{ids::kHelpBook}, 6603, L"Help Book", L"Click here to open the help book."},
};

constexpr HelpTable kHelp{135, {395, "about.html"}, kControlHelp};

constexpr const wchar_t* kPlacement = L"About";
constexpr int kIconSize = 48;

constexpr const char* kProductPage = VNXTEST_PRODUCT_PAGE;
constexpr const char* kSupportMail = VNXTEST_SUPPORT_MAIL;

bool HasAddress(const char* setting) {
    return *setting != '\0';
}

wxString ProductDescription() {
    return "Vnetx for " + wxString(std::wstring(SystemName())) + " Testing Program";
}

wxString MailAddress(const wxString& version) {
    wxString subject = ProductDescription() + " " + version;
    subject.Replace(" ", "%20");
    return wxString("mailto:") + kSupportMail + "?subject=" + subject;
}

// The system may measure the text shorter than it draws it.
wxHyperlinkCtrl* MakeLink(wxWindow* parent, int id, const wxString& label, const wxString& target,
                          long style = wxHL_DEFAULT_STYLE) {
    auto* const link =
        MakeChild<wxHyperlinkCtrl>(parent, id, label, target, wxDefaultPosition, wxDefaultSize, style);
    const int width = link->GetTextExtent(label).x + parent->FromDIP(4);
    link->SetMinSize(wxSize(std::max(link->GetBestSize().x, width), -1));
    return link;
}

// Has no address, so none can be copied.
wxHyperlinkCtrl* MakeHelpLink(wxWindow* parent) {
    const wxString label = "Netorra Help";
    wxHyperlinkCtrl* const link =
        MakeLink(parent, ids::kHelpBook, label, label, wxHL_ALIGN_CENTRE | wxNO_BORDER);
    link->UnsetToolTip();
    link->Bind(wxEVT_HYPERLINK, [parent](wxHyperlinkEvent&) {
        if (HelpBook* const book = HelpBook::Current()) {
            book->OpenContents(parent);
        }
    });
    return link;
}

} // namespace

CAboutDlg::CAboutDlg(wxWindow* parent, Profile& profile)
    : CHelpButtonDlg(parent, wxID_ANY, wxString("About ") + kProductName),
      m_placement(*this, profile, kPlacement) {
    SetUpHelp(kHelp);
    const int gap = Gap(*this);
    const wxString version = wxString(kVersion) + "-UD";

    wxBitmap icon;
    icon.CopyFromIcon(ProgramIcons().GetIcon(FromDIP(wxSize(kIconSize, kIconSize))));
    auto* const content = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    content->Add(MakeChild<wxStaticBitmap>(this, wxID_ANY, icon), wxSizerFlags().Border(wxRIGHT, 3 * gap));
    auto* const lines = MakeChild<wxBoxSizer>(wxVERTICAL);
    lines->Add(
        MakeChild<wxStaticText>(this, ids::kVersionLine, ProductDescription() + " -- Version " + version),
        wxSizerFlags().Border(wxBOTTOM, gap));
    lines->Add(MakeChild<wxStaticText>(this, ids::kLegalNotice, kCopyright),
               wxSizerFlags().Border(wxBOTTOM, gap));
    if (HasAddress(kProductPage)) {
        lines->Add(MakeLink(this, ids::kWebPage, kProductPage, kProductPage),
                   wxSizerFlags().Border(wxBOTTOM, gap));
    }
    auto* const contact = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    contact->Add(MakeChild<wxStaticText>(this, wxID_ANY, "Support contact:"),
                 wxSizerFlags().CentreVertical().Border(wxRIGHT, gap));
    contact->Add(HasAddress(kSupportMail)
                     ? MakeLink(this, ids::kSupportMail, kSupportMail, MailAddress(version))
                     : MakeHelpLink(this),
                 wxSizerFlags().CentreVertical());
    lines->Add(contact);
    content->Add(lines, wxSizerFlags(1));
    FinishDialog(*this, content, wxOK | wxHELP);
    SetEscapeId(wxID_OK);
    m_placement.Restore(PlacementParts::Position);
    if (wxWindow* const ok = FindWindow(wxID_OK)) {
        ok->SetFocus();
    }
}

CAboutDlg::~CAboutDlg() {
    m_placement.Save();
}

} // namespace vnxtest
