#include "ui/frame/save_file.h"

#include <algorithm>
#include <filesystem>

#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/msgdlg.h>

#include "platform/files/profile.h"
#include "wrenlib/product.h"

namespace vnxtest {

std::optional<SaveChoice> AskWhereToSave(wxWindow* parent, const wxString& title, const wxString& name,
                                         std::span<const FileKind> kinds) {
    wxString filters;
    for (const FileKind& kind : kinds) {
        filters += wxString::Format("%s%s (*.%s)|*.%s", filters.empty() ? "" : "|", kind.name, kind.extension,
                                    kind.extension);
    }
    wxString folder;
    wxString proposed = name + "." + kinds.front().extension;
    while (true) {
        wxFileDialog dialog(parent, title, folder, proposed, filters, wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
        if (dialog.ShowModal() != wxID_OK) {
            return std::nullopt;
        }
        wxFileName chosen(dialog.GetPath());
        const auto typed = std::ranges::find_if(
            kinds, [&](const FileKind& kind) { return chosen.GetExt().IsSameAs(kind.extension, false); });
        if (typed != kinds.end()) {
            return SaveChoice{chosen.GetFullPath(), static_cast<std::size_t>(typed - kinds.begin())};
        }
        const auto filter = static_cast<std::size_t>(std::max(dialog.GetFilterIndex(), 0));
        const std::size_t kind = std::min(filter, kinds.size() - 1);
        if (chosen.HasExt()) {
            return SaveChoice{chosen.GetFullPath(), kind};
        }
        // The dialog did not know the completed name.
        chosen.SetExt(kinds[kind].extension);
        if (!chosen.FileExists() ||
            wxMessageBox(
                wxString::Format("%s already exists.\nDo you want to replace it?", chosen.GetFullName()),
                kProductName, wxYES_NO | wxNO_DEFAULT | wxICON_WARNING, parent) == wxYES) {
            return SaveChoice{chosen.GetFullPath(), kind};
        }
        folder = chosen.GetPath();
        proposed = chosen.GetFullName();
    }
}

Result<void> OpenForSaving(AtomicFile& file, const wxString& path) {
    const std::filesystem::path destination(path.ToStdWstring());
    // A pipe without a reader would block the window.
    auto opened = file.Open(destination, FileAccess::Document, SpecialFiles::Refuse);
    if (opened &&
        std::ranges::any_of(ProfileFiles(), [&](const auto& kept) { return file.IsSameAs(kept); })) {
        return Refused(L"\"" + path.ToStdWstring() +
                       L"\" is where the settings are kept. Choose another file.");
    }
    return opened;
}

Result<void> SaveBytes(const wxString& path, std::string_view bytes) {
    AtomicFile file;
    return OpenForSaving(file, path).and_then([&] { return file.Write(bytes); }).and_then([&] {
        return file.Commit();
    });
}

} // namespace vnxtest
