#include "ui/dialogs/adapters_dlg.h"

#include <algorithm>

#include <wx/display.h>
#include <wx/listbox.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "hostnet/adapter_choice.h"
#include "ui/dialogs/dialog_layout.h"
#include "widgets/accessible_name.h"
#include "widgets/control_hints.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kList = 1033;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6604,
     L"Host Adapters",
     L"Use this dialog to choose the host adapter from the adapters of this host instead of entering its address."},
    {{ids::kList},
     6614,
     L"List of Host Adapters",
     L"Select here the host adapter the interface is to use. Its IP address is entered in the parameters dialog or, if it has none, its MAC address. A port of a bridge or a bond has the address of another adapter and cannot be chosen."},
};

constexpr HelpTable kHelp{137, {327, "parameters.html#adapter"}, kControlHelp};

constexpr int kShownRows = 8;
constexpr int kShownColumns = 140; // at most, before the list scrolls sideways

} // namespace

CAdaptersDlg::CAdaptersDlg(wxWindow* parent, const HostNetwork& host, const std::wstring& named)
    : CHelpButtonDlg(parent, wxID_ANY, "Host Adapters", wxDefaultPosition, wxDefaultSize,
                     wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_host(host) {
    SetUpHelp(kHelp);
    auto* const content = MakeChild<wxBoxSizer>(wxVERTICAL);
    const bool any = !host.Adapters().empty();
    content->Add(MakeChild<wxStaticText>(this, wxID_ANY,
                                         any ? "&Adapters of this host:" : "No host adapters were found."),
                 wxSizerFlags().Border(wxBOTTOM, Gap(*this)));
    MakeList("Adapters of this host");
    content->Add(m_list, wxSizerFlags(1).Expand());
    FinishDialog(*this, content);
    Select(named);
    m_list->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { OnSelect(); });
    m_list->Bind(wxEVT_LISTBOX_DCLICK, [this](wxCommandEvent&) {
        if (Chosen() != nullptr) {
            EndModal(wxID_OK);
        }
    });
    m_list->Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) {
        const bool right = event.GetKeyCode() == WXK_RIGHT;
        const bool sideways = (right || event.GetKeyCode() == WXK_LEFT) && !event.HasAnyModifiers();
        event.Skip(!sideways || !ScrollSideways(*m_list, right));
    });
    m_list->SetFocus();
}

void CAdaptersDlg::MakeList(const wxString& accessibleName) {
    m_list = MakeChild<wxListBox>(this, ids::kList, wxDefaultPosition, wxDefaultSize, 0, nullptr,
                                  wxLB_SINGLE | wxLB_HSCROLL);
    SetAccessibleName(*m_list, accessibleName);
    m_list->SetFont(wxFont(wxFontInfo(GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE)));
    const std::vector<std::wstring> lines = AdapterLines(m_host);
    std::size_t longest = 0;
    for (std::size_t i = 1; i < lines.size(); ++i) { // without the heading
        m_list->Append(lines[i]);
        longest = std::max(longest, lines[i].size());
    }
    const int columns = static_cast<int>(std::min<std::size_t>(longest, kShownColumns)) + 3;
    const int widest = wxDisplay(GetParent()).GetClientArea().width * 4 / 5;
    m_list->SetInitialSize(wxSize(std::min(columns * m_list->GetCharWidth(), widest),
                                  kShownRows * (m_list->GetCharHeight() + Gap(*this))));
}

void CAdaptersDlg::Select(const std::wstring& named) {
    const auto& adapters = m_host.Adapters();
    const HostAdapter* adapter = FindAdapter(m_host, named);
    if (adapter == nullptr) {
        const auto choosable = [this](const HostAdapter& each) { return OpenedFor(m_host, each) == &each; };
        auto found = std::ranges::find_if(adapters, [&](const HostAdapter& each) {
            return m_host.IsDefaultAdapter(each) && choosable(each);
        });
        if (found == adapters.end()) {
            found = std::ranges::find_if(adapters, choosable);
        }
        adapter = found == adapters.end() ? nullptr : &*found;
    }
    if (adapter != nullptr) {
        m_list->SetSelection(static_cast<int>(adapter - adapters.data()));
    }
    OnSelect();
}

void CAdaptersDlg::OnSelect() {
    FindWindow(wxID_OK)->Enable(Chosen() != nullptr);
}

const HostAdapter* CAdaptersDlg::Chosen() const {
    const int row = m_list->GetSelection();
    if (row == wxNOT_FOUND) {
        return nullptr;
    }
    const HostAdapter& adapter = m_host.Adapters()[static_cast<std::size_t>(row)];
    return OpenedFor(m_host, adapter) == &adapter ? &adapter : nullptr;
}

} // namespace vnxtest
