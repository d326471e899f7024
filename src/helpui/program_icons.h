// The program's icon in all sizes it was rendered in (packaging/icon). One source per platform: embedded
// PNG images, or the program's resources.
#pragma once

#include <wx/iconbndl.h>

namespace vnxtest {

// For wxTopLevelWindow::SetIcons.
wxIconBundle ProgramIcons();

} // namespace vnxtest
