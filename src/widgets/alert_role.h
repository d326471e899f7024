// The role of a question for screen readers, where questions are the program's own dialogs (GTK).
// User-interface thread.
#pragma once

class wxDialog;

namespace vnxtest {

// Makes assistive software read all texts of `dialog` when it opens, as it does for the toolkit's messages.
void MakeAlert(wxDialog& dialog);

} // namespace vnxtest
