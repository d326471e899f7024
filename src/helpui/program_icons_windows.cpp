#include "helpui/program_icons.h"

#include <wx/bitmap.h>
#include <wx/icon.h>
#include <wx/vector.h>

namespace vnxtest {

namespace {

// The name under which the program's resources hold packaging/icon/vnxtest.ico.
constexpr char kResource[] = "vnxtest_icon";

} // namespace

wxIconBundle ProgramIcons() {
    return wxIconBundle(kResource, nullptr);
}

wxBitmapBundle ProgramIconBitmaps() {
    const wxIconBundle icons = ProgramIcons();
    wxVector<wxBitmap> bitmaps;
    for (size_t i = 0; i < icons.GetIconCount(); ++i) {
        wxBitmap bitmap;
        bitmap.CopyFromIcon(icons.GetIconByIndex(i));
        bitmaps.push_back(bitmap);
    }
    return wxBitmapBundle::FromBitmaps(bitmaps);
}

} // namespace vnxtest
