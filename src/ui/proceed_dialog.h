// The question before a start that is bound to fail. One source per platform: the task dialog on Windows,
// a message dialog with expandable text elsewhere.
#pragma once

#include "guest/front_end.h"

class wxWindow;

namespace vnxtest {

// Shows the question over `parent`. Cancel is the default button. Returns kProceedButton, or
// kCancelButton, also when the dialog cannot be shown.
int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question);

} // namespace vnxtest
