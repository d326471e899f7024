// A window with a help button in its caption and balloon help for every control: the class template over
// the window class it extends, and the two instances the program uses.
//
// A derived dialog creates its controls and calls SetUpHelp with its table of help; everything else (the
// button, "What's This?" mode, F1, the Help button's topic, the standard buttons' texts) follows.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include <wx/dialog.h>
#include <wx/docview.h>

#include "helpui/window_help.h"

namespace vnxtest {

template <class Base>
class CHelpButtonWnd : public Base {
public:
    CHelpButtonWnd() = default;

    // Constructs the base with `arguments`, so that one may write CHelpButtonDlg(parent, wxID_ANY, title).
    template <typename First, typename... Rest>
    explicit CHelpButtonWnd(First&& first, Rest&&... rest)
        : Base(std::forward<First>(first), std::forward<Rest>(rest)...) {}

    // Call once, after the window was created and before it is first shown. The controls may be created
    // before or after it.
    void SetUpHelp(const HelpTable& table) {
        m_help = std::make_unique<WindowHelp>(
            *this, table,
            HasSystemMenu() ? std::function<void(wxMenu&)>([this](wxMenu& menu) { FillSystemMenu(menu); })
                            : std::function<void(wxMenu&)>());
    }

    // The help of this window; null before SetUpHelp.
    WindowHelp* GetHelp() const { return m_help.get(); }

protected:
    // True: the caption gets a menu, to which FillSystemMenu may add items each time it pops up; their
    // commands go to the window. The state items (restore, minimize, maximize) stand before them, "Close"
    // after. SetUpHelp calls it once.
    virtual bool HasSystemMenu() const { return false; }
    virtual void FillSystemMenu(wxMenu&) {}

private:
    std::unique_ptr<WindowHelp> m_help;
};

using CHelpButtonDlg = CHelpButtonWnd<wxDialog>;
using CHelpButtonFrameWnd = CHelpButtonWnd<wxDocParentFrame>;

} // namespace vnxtest
