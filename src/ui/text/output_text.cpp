#include "ui/text/output_text.h"

#include <algorithm>
#include <array>

#include <wx/fdrepdlg.h>
#include <wx/fontenum.h>
#include <wx/settings.h>

namespace vnxtest {

namespace {

wxFont FixedPitchFont() {
    constexpr int kPoints = 10;
    const wxString courier = "Courier New";
    wxFontInfo info(kPoints);
    info.Family(wxFONTFAMILY_TELETYPE);
    if (wxFontEnumerator::IsValidFacename(courier)) {
        info.FaceName(courier);
    }
    return wxFont(info);
}

} // namespace

COutputText::COutputText(wxWindow* parent, std::size_t mostBytes)
    : wxStyledTextCtrl(parent, wxID_ANY), m_mostBytes(mostBytes) {
    constexpr int kMargins = 5;
    SetName("Report");
    SetUndoCollection(false);
    EmptyUndoBuffer();
    SetModEventMask(0);
    SetEOLMode(wxSTC_EOL_LF);
    SetWrapMode(wxSTC_WRAP_NONE);
    for (int margin = 0; margin < kMargins; ++margin) {
        SetMarginWidth(margin, 0);
    }
    SetScrollWidth(1);
    SetScrollWidthTracking(true);
    SetEndAtLastLine(true);
    SetLayoutCache(wxSTC_CACHE_PAGE);
    SetTabWidth(8);
    UsePopUp(wxSTC_POPUP_NEVER);
    StyleSetFont(wxSTC_STYLE_DEFAULT, FixedPitchFont());
    TakeSystemColours();
    SetReadOnly(true);
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        TakeSystemColours();
        event.Skip();
    });
}

void COutputText::TakeSystemColours() {
    StyleSetForeground(wxSTC_STYLE_DEFAULT, wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT));
    StyleSetBackground(wxSTC_STYLE_DEFAULT, wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW));
    StyleClearAll();
    SetCaretForeground(wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT));
    SetSelForeground(true, wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHTTEXT));
    SetSelBackground(true, wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHT));
}

void COutputText::SetScrollbar(int orientation, int position, int visible, int range, bool refresh) {
    wxStyledTextCtrl::SetScrollbar(orientation, position, visible,
                                   orientation == wxHORIZONTAL ? std::max(range, visible) : range, refresh);
}

bool COutputText::IsAtEnd() const {
    const int end = GetLength();
    return GetSelectionStart() == end && GetSelectionEnd() == end;
}

void COutputText::AppendRaw(std::string_view lines) {
    const int added = static_cast<int>(lines.size());
    Reserve(GetLength() + added);
    SetReadOnly(false);
    AppendTextRaw(lines.data(), added);
    SetReadOnly(true);
}

std::size_t COutputText::Room() const {
    return m_full ? 0 : m_mostBytes - std::min(m_mostBytes, static_cast<std::size_t>(GetLength()));
}

bool COutputText::AppendLines(std::string_view lines) {
    if (m_full) {
        return false;
    }
    const bool follow = IsAtEnd();
    const std::size_t room = Room();
    m_full = lines.size() > room;
    if (m_full) {
        const std::size_t lineEnd = lines.substr(0, room).rfind('\n');
        AppendRaw(lines.substr(0, lineEnd == std::string_view::npos ? 0 : lineEnd + 1));
        AppendRaw("** The report is full, what follows is left out. Save it and start a new one (Ctrl+N).\n");
    } else {
        AppendRaw(lines);
    }
    if (follow) {
        GotoPos(GetLength());
    }
    return true;
}

// The control grows its buffer by a sixth at a time and copies all of it each time, which blocks the window
// for a large document. With these larger steps it is copied while it is small, and then rarely. Reserved
// memory that is not used costs nothing.
void COutputText::Reserve(int bytes) {
    constexpr int kMebi = 1024 * 1024;
    constexpr std::array kSteps = {kMebi, 128 * kMebi, 520 * kMebi};
    if (bytes <= m_reserved) {
        return;
    }
    const auto* const step =
        std::find_if(kSteps.begin(), kSteps.end(), [&](int each) { return bytes <= each; });
    if (step != kSteps.end()) {
        m_reserved = *step;
        Allocate(m_reserved);
    }
}

void COutputText::EmptyText() {
    SetReadOnly(false);
    ClearAll();
    SetReadOnly(true);
    SetScrollWidth(1);
    m_full = false;
}

std::string_view COutputText::WholeText() const {
    return {GetCharacterPointer(), static_cast<std::size_t>(GetLength())};
}

int COutputText::Search(int from, int to, const wxString& text, int searchFlags) {
    SetSearchFlags(searchFlags);
    SetTargetStart(from);
    SetTargetEnd(to);
    return SearchInTarget(text);
}

bool COutputText::FindText(const wxString& text, int flags) {
    const int end = GetLength();
    const int searchFlags = ((flags & wxFR_MATCHCASE) != 0 ? wxSTC_FIND_MATCHCASE : 0) |
                            ((flags & wxFR_WHOLEWORD) != 0 ? wxSTC_FIND_WHOLEWORD : 0);
    const bool down = (flags & wxFR_DOWN) != 0;
    int found = down ? Search(GetSelectionEnd(), end, text, searchFlags)
                     : Search(GetSelectionStart(), 0, text, searchFlags);
    if (found < 0) {
        found = down ? Search(0, end, text, searchFlags) : Search(end, 0, text, searchFlags);
    }
    if (found < 0) {
        return false;
    }
    const int foundEnd = GetTargetEnd();
    SetSelection(found, foundEnd);
    ScrollRange(found, foundEnd);
    return true;
}

} // namespace vnxtest
