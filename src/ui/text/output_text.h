// The control that shows the document: read-only, fixed pitch, no wrap.
//
// It holds millions of lines and appends without redrawing. A caret or a selection that is not at the end
// stays, and so does the visible part, whatever is appended. A full control says so in its last line and
// leaves out what follows. User-interface thread.
#pragma once

#include <string_view>

#include <wx/stc/stc.h>

namespace vnxtest {

class COutputText final : public wxStyledTextCtrl {
public:
    // Millions of lines. The control keeps two bytes for each byte of text, so that a full report takes a
    // gigabyte of memory.
    static constexpr std::size_t kMostBytes = std::size_t{512} * 1024 * 1024;

    // Holds `mostBytes` of text, at most kMostBytes.
    explicit COutputText(wxWindow* parent, std::size_t mostBytes = kMostBytes);

    // Appends `lines` (UTF-8). A caret at the end stays at the end, and in view. False if it is full and
    // nothing was appended.
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

    // Selects the next occurrence of `text` after the selection (before it if `flags` lack wxFR_DOWN),
    // wrapping around once, and scrolls to it. False if there is none.
    bool FindText(const wxString& text, int flags);

    // Keeps the horizontal range at least as large as the visible part: otherwise the toolkit would show a
    // position beyond the end.
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
