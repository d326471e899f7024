// Balloons: the small windows that point at a control, for help and for errors.
//
// At most one is shown at a time; a new one takes the place of the old. A balloon takes no focus. Escape
// closes it (and nothing else); so do a click on it, and hiding, moving, leaving or destroying the window
// it belongs to. User-interface thread only.
#pragma once

#include <wx/gdicmn.h>
#include <wx/string.h>

class wxWindow;

namespace vnxtest {

enum class BalloonIcon { None = 0, Information = 1, Warning = 2, Error = 3 };

// Shows an error on `control`: puts the focus there (all of an entry's text selected), shows the balloon,
// beeps. Gone when the control's value changes or the focus leaves it, besides the ways above. Always
// returns false, so that a validation can return it.
bool ErrorBalloon(wxWindow* control, const wxString& title, const wxString& text,
                  BalloonIcon icon = BalloonIcon::Error);

// Shows help on `control`, pointing at it. Any click and any key close it; Escape does nothing else then.
void ShowHelpBalloon(wxWindow* control, const wxString& title, const wxString& text);

// Shows help on a part of a window that is no control: `part` in screen coordinates.
void ShowHelpBalloonAt(wxWindow* owner, const wxRect& part, const wxString& title, const wxString& text);

// Closes the balloon that is shown, if any.
void DismissBalloon();

// What is shown now, for those who look from outside (a second F1, tests).
struct ShownBalloon {
    wxWindow* anchor = nullptr; // null when nothing is shown
    wxWindow* window = nullptr; // the balloon itself; null where it is the system's
    wxRect place;               // where it is, in screen coordinates
    wxString title;
    wxString text;
    BalloonIcon icon = BalloonIcon::None;
    bool isHelp = false;
};
ShownBalloon CurrentBalloon();

} // namespace vnxtest
