#include "helpui/program_icons.h"

#include <wx/bitmap.h>
#include <wx/icon.h>

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

} // namespace vnxtest
