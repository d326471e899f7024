// Names that a screen reader says for controls whose label stands elsewhere. One source per platform.
#pragma once

#include <wx/string.h>

class wxWindow;

namespace vnxtest {

// Gives `window`, which must have been created, the name that assistive software reads.
void SetAccessibleName(wxWindow& window, const wxString& name);

} // namespace vnxtest
