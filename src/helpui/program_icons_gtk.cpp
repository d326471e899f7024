#include "helpui/program_icons.h"

#include <wx/bitmap.h>
#include <wx/icon.h>
#include <wx/vector.h>

#include "helpui/embedded_icons.h"

namespace vnxtest {

wxIconBundle ProgramIcons() {
    wxIconBundle icons;
    for (const std::span<const unsigned char> png : EmbeddedIcons()) {
        wxIcon icon;
        icon.CopyFromBitmap(wxBitmap::NewFromPNGData(png.data(), png.size()));
        icons.AddIcon(icon);
    }
    return icons;
}

wxBitmapBundle ProgramIconBitmaps() {
    wxVector<wxBitmap> bitmaps;
    for (const std::span<const unsigned char> png : EmbeddedIcons()) {
        bitmaps.push_back(wxBitmap::NewFromPNGData(png.data(), png.size()));
    }
    return wxBitmapBundle::FromBitmaps(bitmaps);
}

} // namespace vnxtest
