// The control that shows the document: read-only, fixed pitch, no wrap.
//
// It holds millions of lines and appends without redrawing what is there. A reader who has put the
// caret or a selection anywhere but at the end keeps it, and the part of the text he looks at, whatever
// is appended. When it holds as much as it may it says so in its last line and leaves out what follows.
// User-interface thread.
#pragma once

#include <string_view>

#include <wx/stc/stc.h>

namespace vnxtest {

class COutputText final : public wxStyledTextCtrl {
public:
    // Millions of lines. The control keeps two bytes for each of the text, so that a full report takes a
    // gigabyte of memory.
    static constexpr std::size_t kMostBytes = std::size_t{512} * 1024 * 1024;

    // Holds `mostBytes` of text, at most kMostBytes.
    explicit COutputText(wxWindow* parent, std::size_t mostBytes = kMostBytes);

    // Appends `lines` (UTF-8). When the caret stood at the end it is at the end afterwards, and in view.
    // False when it is full and nothing was appended.
    bool AppendLines(std::string_view lines);
    // The report is full: its last line says so.
    bool IsFull() const { return m_full; }
    // How much it can still take, in bytes.
    std::size_t Room() const;
    // Empties the document.
    void EmptyText();

    // The whole text (UTF-8, lines end in "\n"). Valid until the next change.
    std::string_view WholeText() const;
    // The caret is at the end and nothing is selected.
    bool IsAtEnd() const;

    // Selects the next occurrence of `text` behind the selection (before it, when `flags` do not hold
    // wxFR_DOWN), going round the end of the document once, and scrolls to it. False when there is none.
    bool FindText(const wxString& text, int flags);

    // The horizontal range is never less than what is visible: the toolkit's scrolled windows would show
    // that as being scrolled beyond the end.
    void SetScrollbar(int orientation, int position, int visible, int range, bool refresh = true) override;

private:
    void TakeSystemColours();
    void Reserve(int bytes);
    int Search(int from, int to, const wxString& text, int searchFlags);

    void AppendRaw(std::string_view lines);

    std::size_t m_mostBytes;
    bool m_full = false;
    int m_reserved = 0; // bytes
};

} // namespace vnxtest
