#include "ui/document.h"

#include <array>
#include <memory>

#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/frame.h>
#include <wx/msgdlg.h>

#include "platform/files/atomic_file.h"
#include "platform/process/terminal.h"
#include "ui/dialogs/task_dialogs.h"
#include "ui/frame/save_file.h"
#include "ui/view.h"
#include "wrenlib/log.h"
#include "wrenlib/product.h"

namespace vnxtest {

wxIMPLEMENT_DYNAMIC_CLASS(CVNXTestDoc, wxDocument);

namespace {

// The extensions of the first two filters of the file dialog; the third shows all files.
constexpr std::array kExtensions = {kReportExtension, "txt"};

CVNXTestView& ViewOf(const wxDocument& document) {
    return *wxStaticCast(document.GetFirstView(), CVNXTestView);
}

// Writes `text` with the platform's line ends.
Result<void> WriteText(AtomicFile& file, std::string_view text) {
    const std::string_view lineEnd = kTextLineEnd;
    if (lineEnd == "\n") {
        return file.Write(text);
    }
    constexpr std::size_t kBlock = std::size_t{1024} * 1024;
    std::string block;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        block += text.substr(0, end);
        if (end == std::string_view::npos) {
            break;
        }
        block += lineEnd;
        text.remove_prefix(end + 1);
        if (block.size() >= kBlock) {
            if (auto written = file.Write(block); !written) {
                return written;
            }
            block.clear();
        }
    }
    return file.Write(block);
}

} // namespace

wxString ReportFilter() {
    return wxString(kReportsName) + "|" + kReportPattern;
}

void CVNXTestDoc::StartOver() {
    if (!MayDiscard(Afterwards::StartOver)) {
        return;
    }
    OnNewDocument();
    ViewOf(*this).StartOver();
}

bool CVNXTestDoc::OnOpenDocument(const wxString&) {
    return Verify(false);
}

bool CVNXTestDoc::DoSaveDocument(const wxString& path) {
    AtomicFile file;
    auto saved = OpenForSaving(file, path);
    if (saved) {
        saved = WriteText(file, ViewOf(*this).WholeText());
    }
    if (saved) {
        saved = file.Commit();
    }
    if (saved) {
        return true;
    }
    wxMessageBox("The report could not be saved.\n\n" + wxString(saved.error().text), kProductName,
                 wxOK | wxICON_ERROR, GetDocumentWindow());
    return false;
}

// The file dialog. A name without an extension gets that of the chosen filter; if a file of the completed
// name exists, the user is asked here, since the dialog did not know that name.
std::optional<wxString> CVNXTestDoc::AskPath() {
    wxWindow* const parent = GetDocumentWindow();
    wxString name = wxFileName(GetFilename()).GetName() + "." + kExtensions[0];
    wxString folder = GetDocumentManager()->GetLastDirectory();
    while (true) {
        wxFileDialog dialog(parent, "Save As", folder, name,
                            ReportFilter() + "|Text Files (*.txt)|*.txt|All Files (*.*)|*",
                            wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
        if (dialog.ShowModal() != wxID_OK) {
            return std::nullopt;
        }
        wxFileName chosen(dialog.GetPath());
        folder = chosen.GetPath();
        GetDocumentManager()->SetLastDirectory(folder);
        if (chosen.HasExt()) {
            return chosen.GetFullPath();
        }
        const auto filter = static_cast<std::size_t>(dialog.GetFilterIndex());
        chosen.SetExt(kExtensions[filter < kExtensions.size() ? filter : 0]);
        if (!chosen.FileExists() ||
            wxMessageBox(
                wxString::Format("%s already exists.\nDo you want to replace it?", chosen.GetFullName()),
                kProductName, wxYES_NO | wxNO_DEFAULT | wxICON_WARNING, parent) == wxYES) {
            return chosen.GetFullPath();
        }
        name = chosen.GetFullName();
    }
}

bool CVNXTestDoc::Save() {
    if (AlreadySaved() && wxFileExists(GetFilename())) {
        return true;
    }
    return (HasPath() && OnSaveDocument(GetFilename())) || SaveAs();
}

bool CVNXTestDoc::SaveAs() {
    const std::optional<wxString> path = AskPath();
    return path && SaveTo(*path);
}

bool CVNXTestDoc::SaveTo(const wxString& path) {
    if (!OnSaveDocument(path)) {
        return false;
    }
    SetTitle(wxFileNameFromPath(path));
    SetFilename(path, true);
    return true;
}

bool CVNXTestDoc::OnSaveModified() {
    return MayDiscard(Afterwards::Close);
}

bool CVNXTestDoc::MayDiscard(Afterwards afterwards) {
    while (IsModified()) {
        const wxString name = HasPath() ? wxFileNameFromPath(GetFilename()) : wxString("Untitled");
        const int answer = ShowSaveTaskDialog(GetDocumentWindow(), name);
        if (answer == kDontSaveButton) {
            return true;
        }
        if (answer != kSaveButton) {
            Verify(answer == kCancelButton);
            return false;
        }
        // A cancelled file dialog or a failed save brings the question back.
        const std::optional<wxString> path = HasPath() ? std::optional(GetFilename()) : AskPath();
        if (path && afterwards == Afterwards::Close) {
            // The lines that a test and the interfaces write at their end belong to the report.
            ViewOf(*this).StopGuest();
        }
        if (path && SaveTo(*path)) {
            Modify(false);
            return true;
        }
    }
    return true;
}

} // namespace vnxtest
