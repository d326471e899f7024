// A sign in a caption that the window manager composes. User-interface thread.
#pragma once

#include <windows.h>

namespace vnxtest {

// Draws `sign` in the middle of `place`, in `colour`, over a veil of the same colour with the opacity
// `veil` (0 for none, 255 for a full one). Puts premultiplied alpha into `dc`: around the sign the caption
// shows through. False if a call of the system fails.
bool DrawCaptionGlyph(HDC dc, const RECT& place, wchar_t sign, const LOGFONTW& font, COLORREF colour,
                      BYTE veil);

} // namespace vnxtest
