// Where the user of the text reads, and when it follows what is appended.
#include "ui/text/output_text.h"

namespace vnxtest {

void COutputText::BindReading() {
    // Scrolling is noticed here, and before the next lines are appended: they may come before it is drawn.
    Bind(wxEVT_STC_UPDATEUI, [this](wxStyledTextEvent& event) {
        LookWhereTheUserIs();
        const bool moved = (event.GetUpdated() & wxSTC_UPDATE_SELECTION) != 0;
        // Lines that are followed move the caret, and are told themselves.
        if (moved && !(IsAtEnd() && GetCurrentPos() == m_followedTo)) {
            m_followedTo = -1;
            m_access->OnMoved();
        }
        event.Skip();
    });
    Bind(wxEVT_STC_ZOOM, [this](wxStyledTextEvent& event) {
        KeepPlace();
        event.Skip();
    });
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        KeepPlace();
        event.Skip();
    });
    Bind(wxEVT_KEY_DOWN, &COutputText::OnKeyDown, this);
}

bool COutputText::IsEndInView() const {
    return GetFirstVisibleLine() + LinesOnScreen() >= GetLineCount();
}

bool COutputText::Follows() {
    LookWhereTheUserIs();
    return IsAtEnd() && !m_scrolledUp;
}

void COutputText::FollowEnd() {
    GotoPos(GetLength());
    m_seenTop = GetFirstVisibleLine();
    m_seenCaret = GetCurrentPos();
    m_scrolledUp = false;
    TellNewLines(false);
}

// What the user did since the last look. Moving the caret, by keys or clicks, is told from scrolling by wheel
// or bar: the latter leaves the caret where it is. Scrolling down to the end takes up following, but a
// selection is kept.
void COutputText::LookWhereTheUserIs() {
    const int top = GetFirstVisibleLine();
    const int caret = GetCurrentPos();
    if (m_isPlaceChanging || (top == m_seenTop && caret == m_seenCaret)) {
        return;
    }
    const bool scrolled = caret == m_seenCaret;
    m_seenTop = top;
    m_seenCaret = caret;
    const bool end = IsEndInView();
    m_scrolledUp = scrolled && !end;
    if (end) {
        TellNewLines(false);
    }
    if (end && scrolled && GetSelectionEmpty() && !IsAtEnd()) {
        FollowEnd();
    }
}

// A new size of the window or of its letters moves the end out of view, or other lines into it.
void COutputText::KeepPlace() {
    m_followsThere = Follows();
    if (m_isPlaceChanging) {
        return;
    }
    m_isPlaceChanging = true;
    CallAfter([this, top = GetFirstVisibleLine()] {
        m_isPlaceChanging = false;
        m_seenTop = GetFirstVisibleLine();
        if (m_followsThere && m_seenTop < top && !IsEndInView()) {
            m_scrolledUp = true; // by the user, meanwhile
        } else if (m_followsThere) {
            FollowEnd();
        } else if (IsEndInView()) {
            TellNewLines(false);
        }
    });
}

void COutputText::TellNewLines(bool below) {
    if (below != m_newLinesBelow) {
        m_newLinesBelow = below;
        if (m_tellNewLines) {
            m_tellNewLines(below);
        }
    }
}

// End goes to the end of the line; from there, and while new lines are below, to the end of the report.
void COutputText::OnKeyDown(wxKeyEvent& event) {
    const int code = event.GetKeyCode();
    const bool isEnd = (code == WXK_END || code == WXK_NUMPAD_END) && !event.HasAnyModifiers();
    const bool isAtLineEnd = GetSelectionEmpty() && GetCurrentPos() == GetLineEndPosition(GetCurrentLine());
    if (isEnd && (m_newLinesBelow || isAtLineEnd)) {
        FollowEnd();
    } else {
        event.Skip();
    }
}

std::size_t COutputText::CaretByte() const {
    return static_cast<std::size_t>(GetCurrentPos());
}

std::pair<std::size_t, std::size_t> COutputText::SelectedBytes() const {
    return {static_cast<std::size_t>(GetSelectionStart()), static_cast<std::size_t>(GetSelectionEnd())};
}

void COutputText::SelectBytes(std::size_t from, std::size_t to) {
    SetSelection(static_cast<int>(from), static_cast<int>(to));
}

void COutputText::ShowBytes(std::size_t from, std::size_t to, bool atTop) {
    const int line = LineFromPosition(static_cast<int>(from));
    if (atTop) {
        SetFirstVisibleLine(line);
    }
    // The beginning is what must be in view.
    ScrollRange(static_cast<int>(to), static_cast<int>(from));
}

wxRect COutputText::PlaceOfByte(std::size_t byte) {
    const int at = static_cast<int>(byte);
    const wxPoint begin = PointFromPosition(at);
    const wxPoint end = PointFromPosition(PositionAfter(at));
    // A line end is as wide as nothing.
    const int width = end.y == begin.y ? end.x - begin.x : 0;
    return {begin, wxSize(width, TextHeight(LineFromPosition(at)))};
}

std::size_t COutputText::ByteAtPlace(const wxPoint& place) const {
    return static_cast<std::size_t>(PositionFromPoint(place));
}

} // namespace vnxtest
