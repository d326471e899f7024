// The control that shows the document: read-only, fixed pitch, no wrap.
//
// It holds millions of lines and appends without redrawing. A caret or a selection that is not at the end
// stays, and so does the visible part, whatever is appended. With the caret at the end it follows what is
// appended, until a user scrolls up. A full control says so in its last line and leaves out what follows.
// User-interface thread.
#pragma once

#include <functional>
#include <string_view>

#include <wx/stc/stc.h>

#include "widgets/access/text_access.h"

namespace vnxtest {

class COutputText final : public wxStyledTextCtrl, private ReadableText {
public:
    // More than ten million lines of a ping test. The control keeps two bytes for each byte of text, so that
    // a full report takes two gigabytes of memory. It numbers its bytes by int.
    static constexpr std::size_t kMostBytes = std::size_t{1024} * 1024 * 1024;

    // Holds `mostBytes` of text, at most kMostBytes.
    explicit COutputText(wxWindow* parent, std::size_t mostBytes = kMostBytes);

    // Appends `lines` (UTF-8), and shows them if it follows. False if it is full and nothing was appended.
    bool AppendLines(std::string_view lines);
    // True if the report is full; its last line says so.
    bool IsFull() const { return m_full; }
    // How much it can still take, in bytes.
    std::size_t Room() const;
    // Empties the document.
    void EmptyText();

    // The whole text (UTF-8, lines end in "\n"). Valid until the next change.
    std::string_view WholeText() const;
    // True if the caret is at the end and there is no selection.
    bool IsAtEnd() const;

    // True while what is appended is shown: the caret is at the end, and the user did not scroll up since.
    bool Follows();
    // Puts the caret to the end, in view.
    void FollowEnd();
    // Calls `tell` whenever it becomes true or false that lines were appended below the visible part.
    void WhenNewLinesBelow(std::function<void(bool)> tell) { m_tellNewLines = std::move(tell); }

    enum class Found { Nothing, Ahead, Wrapped };
    // Selects the next occurrence of `text` after the selection (before it if `flags` lack wxFR_DOWN),
    // wrapping around once, and scrolls so that lines around it are seen.
    Found FindText(const wxString& text, int flags);

    // Keeps the horizontal range at least as large as the visible part: otherwise the toolkit would show a
    // position beyond the end.
    void SetScrollbar(int orientation, int position, int visible, int range, bool refresh = true) override;

    // Draws anew what scrolls: the toolkit would move the window's children along.
    void ScrollWindow(int dx, int dy, const wxRect* part = nullptr) override;

private:
    // ReadableText
    std::string_view ReadableUtf8() const override { return WholeText(); }
    std::size_t CaretByte() const override;
    std::pair<std::size_t, std::size_t> SelectedBytes() const override;
    void SelectBytes(std::size_t from, std::size_t to) override;
    void ShowBytes(std::size_t from, std::size_t to, bool atTop) override;
    wxRect PlaceOfByte(std::size_t byte) override;
    std::size_t ByteAtPlace(const wxPoint& place) const override;

    void TakeSystemColours();
    void Reserve(int bytes);
    int SearchBytes(int from, int to, std::string_view wanted, int searchFlags);
    int Search(int from, int to, const wxString& text, int searchFlags);
    void ShowAmidst(int from, int to);

    void AppendRaw(std::string_view lines);

    void BindReading();
    bool IsEndInView() const;
    void LookWhereTheUserIs();
    void KeepPlace();
    void TellNewLines(bool below);
    void OnKeyDown(wxKeyEvent& event);

    std::function<void(bool)> m_tellNewLines;
    int m_seenTop = 0; // first visible line and caret at the last look
    int m_seenCaret = 0;
    bool m_scrolledUp = false;      // from a caret at the end
    bool m_isPlaceChanging = false; // by a new size, not by the user
    bool m_followsThere = false;    // at the latest of these changes
    bool m_newLinesBelow = false;
    std::unique_ptr<TextAccess> m_access;
    int m_followedTo = 0; // the caret, where lines that were appended took it
    std::size_t m_mostBytes;
    bool m_full = false;
    int m_reserved = 0; // bytes
};

} // namespace vnxtest
