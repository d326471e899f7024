// Names for screen readers of controls that have no label of their own. One source per platform.
// User-interface thread.
#pragma once

#include <wx/string.h>

class wxWindow;

namespace vnxtest {

// Gives `window`, which must have been created, the name that assistive software reads. Another name is told
// to it.
void SetAccessibleName(wxWindow& window, const wxString& name);

} // namespace vnxtest
