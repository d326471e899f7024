// Balloons: the small windows that point at a control, for help and for errors.
//
// At most one is shown at a time; a new one takes the place of the old. A balloon takes no focus. Escape
// closes it and has no other effect; so do a click on it, a menu, and hiding, moving, leaving or destroying
// the window it belongs to. User-interface thread only.
#pragma once

#include <wx/gdicmn.h>
#include <wx/string.h>

class wxWindow;

namespace vnxtest {

enum class BalloonIcon { None = 0, Information = 1, Warning = 2, Error = 3 };

// Shows an error on `control`: sets the focus there (an entry's text selected), shows the balloon, beeps. A
// change of the control's value and a change of focus close it, too. Returns false, so that a validation
// can return it.
bool ErrorBalloon(wxWindow* control, const wxString& title, const wxString& text,
                  BalloonIcon icon = BalloonIcon::Error);

// Shows help on `control`, pointing at it. Any click and any key but F1 and the modifiers close it.
void ShowHelpBalloon(wxWindow* control, const wxString& title, const wxString& text);

// Shows help on a part of a window that is no control: `part` in screen coordinates.
void ShowHelpBalloonAt(wxWindow* owner, const wxRect& part, const wxString& title, const wxString& text);

// Closes the balloon that is shown, if any.
void DismissBalloon();

// The balloon that is shown, as a second F1 and tests ask for it.
struct ShownBalloon {
    wxWindow* anchor = nullptr; // null if none is shown
    wxWindow* window = nullptr; // the balloon itself; null if it is the system's
    wxRect place;               // where it is, in screen coordinates
    wxString title;
    wxString text;
    BalloonIcon icon = BalloonIcon::None;
    bool isHelp = false;
};
ShownBalloon CurrentBalloon();

} // namespace vnxtest
