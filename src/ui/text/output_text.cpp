#include "ui/text/output_text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>

#include <wx/fdrepdlg.h>
#include <wx/fontenum.h>
#include <wx/settings.h>

#include "wrenlib/text_search.h"

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
    m_access = MakeTextAccess(*this, *this, "Report");
    BindReading();
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

void COutputText::ScrollWindow(int, int, const wxRect*) {
    Refresh(false);
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
    if (!m_full) { // less room is left afterwards if the system has no memory for it
        Reserve(GetLength() + static_cast<int>(std::min(lines.size(), Room())));
    }
    if (m_full) {
        return false;
    }
    const bool follow = Follows();
    const std::size_t room = Room();
    m_full = lines.size() > room;
    if (m_full) {
        const std::size_t lineEnd = lines.substr(0, room).rfind('\n');
        AppendRaw(lines.substr(0, lineEnd == std::string_view::npos ? 0 : lineEnd + 1));
        AppendRaw("** The report is full, what follows is left out. Save it and start a new one (Ctrl+N).\n");
    } else {
        AppendRaw(lines);
    }
    m_access->OnAppended();
    if (follow) {
        FollowEnd();
        m_followedTo = GetCurrentPos();
    } else if (!IsEndInView()) {
        TellNewLines(true);
    }
    return true;
}

// The control grows its buffer by a sixth at a time and copies all of it each time, which blocks the window
// for a large document. With these larger steps it is copied while it is small, and then rarely. Reserved
// memory that is not used costs nothing. If there is none to be had, the report is full with what it has: in
// the middle of an insertion the control could not go on.
void COutputText::Reserve(int bytes) {
    constexpr int kMebi = 1024 * 1024;
    constexpr std::array kSteps = {kMebi, 128 * kMebi, 1032 * kMebi};
    if (bytes <= m_reserved) {
        return;
    }
    const auto* const step =
        std::find_if(kSteps.begin(), kSteps.end(), [&](int each) { return bytes <= each; });
    if (step == kSteps.end()) {
        return;
    }
    try {
        Allocate(*step);
        m_reserved = *step;
    } catch (const std::bad_alloc&) {
        constexpr int kLastLine = 4096; // and more
        m_mostBytes = std::min(m_mostBytes, static_cast<std::size_t>(std::max(0, m_reserved - kLastLine)));
    }
}

void COutputText::EmptyText() {
    SetReadOnly(false);
    ClearAll();
    SetReadOnly(true);
    SetScrollWidth(1);
    m_full = false;
    m_access->OnEmptied();
    FollowEnd();
}

std::string_view COutputText::WholeText() const {
    return {GetCharacterPointer(), static_cast<std::size_t>(GetLength())};
}

int COutputText::SearchBytes(int from, int to, std::string_view wanted, int searchFlags) {
    const LetterCase letters =
        (searchFlags & wxSTC_FIND_MATCHCASE) != 0 ? LetterCase::Matters : LetterCase::Ignored;
    const int size = static_cast<int>(wanted.size());
    for (const bool down = from <= to; down ? from <= to : from >= to;) {
        const int begin = std::min(from, to);
        const std::string_view part = WholeText().substr(static_cast<std::size_t>(begin),
                                                         static_cast<std::size_t>(std::abs(to - from)));
        const std::size_t at = (down ? FindFirstText : FindLastText)(part, wanted, letters);
        if (at == std::string_view::npos) {
            break;
        }
        const int found = begin + static_cast<int>(at);
        if ((searchFlags & wxSTC_FIND_WHOLEWORD) == 0 || IsRangeWord(found, found + size)) {
            SetTargetStart(found);
            SetTargetEnd(found + size);
            return found;
        }
        from = down ? found + 1 : found + size - 1;
    }
    return wxSTC_INVALID_POSITION;
}

// The control's own search folds the case of each character of the document, one by one.
int COutputText::Search(int from, int to, const wxString& text, int searchFlags) {
    const auto wanted = text.utf8_string();
    const bool matchCase = (searchFlags & wxSTC_FIND_MATCHCASE) != 0;
    if (!wanted.empty() && (matchCase || text.IsAscii())) {
        return SearchBytes(from, to, wanted, searchFlags);
    }
    SetSearchFlags(searchFlags);
    SetTargetStart(from);
    SetTargetEnd(to);
    return SearchInTarget(text);
}

COutputText::Found COutputText::FindText(const wxString& text, int flags) {
    const int end = GetLength();
    const int searchFlags = ((flags & wxFR_MATCHCASE) != 0 ? wxSTC_FIND_MATCHCASE : 0) |
                            ((flags & wxFR_WHOLEWORD) != 0 ? wxSTC_FIND_WHOLEWORD : 0);
    const bool down = (flags & wxFR_DOWN) != 0;
    Found result = Found::Ahead;
    int found = down ? Search(GetSelectionEnd(), end, text, searchFlags)
                     : Search(GetSelectionStart(), 0, text, searchFlags);
    if (found < 0) {
        result = Found::Wrapped;
        found = down ? Search(0, end, text, searchFlags) : Search(end, 0, text, searchFlags);
    }
    if (found < 0) {
        return Found::Nothing;
    }
    const int foundEnd = GetTargetEnd();
    SetSelection(found, foundEnd);
    ShowAmidst(found, foundEnd);
    return result;
}

// A match on the first or last visible line would hide what stands before or behind it.
void COutputText::ShowAmidst(int from, int to) {
    constexpr int kNear = 4; // of that part of the visible lines, and of the width
    ScrollRange(from, to);
    const int visible = LinesOnScreen();
    const int line = VisibleFromDocLine(LineFromPosition(from));
    const int below = line - GetFirstVisibleLine();
    if (below < visible / kNear || below >= visible - visible / kNear) {
        SetFirstVisibleLine(std::max(0, line - visible / 2));
    }
    const int width = GetClientSize().x;
    const int left = PointFromPosition(from).x;
    const int right = PointFromPosition(to).x;
    if (left < 0 || right > width - width / kNear) {
        // As far to the right as lets the beginning be seen.
        SetXOffset(std::max(0, GetXOffset() + std::min(left, right - (width - width / kNear))));
    }
}

} // namespace vnxtest
