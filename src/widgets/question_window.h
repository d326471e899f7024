// What questions need that are the program's own dialogs (GTK). User-interface thread.
#pragma once

class wxDialog;

namespace vnxtest {

// Makes assistive software read all texts of `dialog` when it opens, as it does for the toolkit's messages.
void MakeAlert(wxDialog& dialog);

// Gives `dialog`, which is shown and not resizable by hand, the size of its contents, which have become
// larger or smaller. The toolkit's own way loses the height of the caption each time where the program draws
// it (Wayland).
void FitToContents(wxDialog& dialog);

} // namespace vnxtest
