// A text that a control draws by itself, as assistive software gets it: role, name, text, caret, selection,
// and what is added. The toolkit's styled text control shows nothing of this to anyone.
//
// GTK: an accessible object with the text interface (AT-SPI). Windows: a provider of UI Automation, and for
// older software an object of Active Accessibility. Nothing is done for a line that is added: twice a second
// what came is told at once, if anyone has asked for the text.
// User-interface thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <wx/gdicmn.h>
#include <wx/timer.h>

class wxWindow;

namespace vnxtest {

// What the control tells of its text. Places are bytes from the beginning.
class ReadableText {
public:
    virtual ~ReadableText() = default;
    // The whole text (UTF-8, lines end in "\n"). Valid until the next event.
    virtual std::string_view ReadableUtf8() const = 0;
    virtual std::size_t CaretByte() const = 0;
    // Beginning and end; the same if nothing is selected.
    virtual std::pair<std::size_t, std::size_t> SelectedBytes() const = 0;
    // Puts the caret to `to`, selecting from `from`, and scrolls there.
    virtual void SelectBytes(std::size_t from, std::size_t to) = 0;
    // Scrolls there, with the beginning on the first visible line if `atTop`. The caret stays.
    virtual void ShowBytes(std::size_t from, std::size_t to, bool atTop) = 0;
    // In the window's client area; it need not be in view.
    virtual wxRect PlaceOfByte(std::size_t byte) = 0;
    virtual std::size_t ByteAtPlace(const wxPoint& place) const = 0;
};

class TextAccess {
public:
    virtual ~TextAccess() = default;
    TextAccess(const TextAccess&) = delete;
    TextAccess& operator=(const TextAccess&) = delete;

    // Something was added at the end. Costs nothing worth mentioning.
    void OnAppended();
    // The text is empty.
    void OnEmptied();
    // Caret or selection are elsewhere.
    void OnMoved();

protected:
    explicit TextAccess(ReadableText& text);

    ReadableText& Text() { return m_text; }

    // True if assistive software has asked for the text.
    virtual bool IsRead() const = 0;
    // What was added, in bytes.
    virtual void TellAdded(std::size_t from, std::size_t to) = 0;
    virtual void TellEmptied() = 0;
    virtual void TellMoved() = 0;
    // Says `sentence` to the user when he is not being told something else.
    virtual void Announce(const std::string& sentence) = 0;

private:
    void OnTimer();

    ReadableText& m_text;
    wxTimer m_timer;
    std::size_t m_told = 0; // bytes of the text
};

// Makes `window` one that assistive software reads as a text with this name. One source per platform. Both
// must outlive the result.
std::unique_ptr<TextAccess> MakeTextAccess(wxWindow& window, ReadableText& text, const wxString& name);

// What there is to say of lines that were added, without their time stamps: all of a few, the number and the
// last of many. Empty if there is nothing.
std::string SentenceOf(std::string_view lines);

} // namespace vnxtest
