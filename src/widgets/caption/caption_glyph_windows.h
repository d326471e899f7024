// A sign, and the classic button, in a caption that the window manager may compose. User-interface thread.
#pragma once

#include <windows.h>

#include "widgets/caption/caption_drawing.h"

namespace vnxtest {

// Draws `letter` in the middle of `place`. Puts premultiplied alpha into `dc`: where neither sign nor veil is
// the caption shows through. False if a call of the system fails.
bool DrawCaptionGlyph(HDC dc, const RECT& place, wchar_t letter, const LOGFONTW& font,
                      const CaptionSign& sign);

// Draws the system's classic help button, opaque, for GDI by itself writes no alpha and would leave it to be
// added to the caption behind it. Only if there is no memory for that it is drawn by GDI itself.
void DrawClassicHelpButton(HDC dc, const RECT& place, bool pushed);

// Lets the caption show through at `place`.
void ClearCaption(HDC dc, const RECT& place);

} // namespace vnxtest
