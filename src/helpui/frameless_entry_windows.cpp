#include "helpui/frameless_entry.h"

namespace vnxtest {

// An entry without a border is bare already.
void MakeFrameless(wxTextCtrl&) {}

} // namespace vnxtest
