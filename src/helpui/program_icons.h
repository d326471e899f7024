// The program's icon in all rendered sizes (packaging/icon). One source per platform: embedded PNG images,
// or the program's resources. User-interface thread.
#pragma once

#include <wx/iconbndl.h>

namespace vnxtest {

// For wxTopLevelWindow::SetIcons.
wxIconBundle ProgramIcons();

} // namespace vnxtest
