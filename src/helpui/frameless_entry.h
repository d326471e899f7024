// Entries that are parts of a larger control, which draws the frame for all of them. One source per
// platform.
#pragma once

class wxTextCtrl;

namespace vnxtest {

// Takes the frame, the background and the ring of the focus from an entry made with wxBORDER_NONE.
void MakeFrameless(wxTextCtrl& entry);

} // namespace vnxtest
