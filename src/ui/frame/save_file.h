// Where what the window saves goes to, and how: asked for with a file dialog, and written whole or not at
// all. User-interface thread.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include <wx/string.h>

#include "platform/files/atomic_file.h"
#include "wrenlib/failure.h"

class wxWindow;

namespace vnxtest {

// A kind of file: "PNG Images", "png".
struct FileKind {
    const char* name;
    const char* extension;
};

struct SaveChoice {
    wxString path;
    std::size_t kind = 0; // of those that could be chosen
};

// Asks for a file, with `name` (without extension) proposed. The extension that is typed decides the kind; a
// name without one gets that of the kind chosen in the dialog, and an existing file of that name is asked
// about. nullopt if cancelled.
std::optional<SaveChoice> AskWhereToSave(wxWindow* parent, const wxString& title, const wxString& name,
                                         std::span<const FileKind> kinds);

// Begins the file at `path` for a document of the user's: what would block the window, or hold the settings,
// is refused. A failure's text is a sentence.
Result<void> OpenForSaving(AtomicFile& file, const wxString& path);

// Saves `bytes` there.
Result<void> SaveBytes(const wxString& path, std::string_view bytes);

} // namespace vnxtest
