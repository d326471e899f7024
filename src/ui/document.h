// The document: the report text as it stands in the output view. It can be saved, not loaded.
//
// Saving writes UTF-8 with the platform's line ends and is atomic: a failed save leaves the old file and
// the document as they were. Leaving the program with "Save" stops the guest first, so that the report has
// its end. User-interface thread.
#pragma once

#include <optional>

#include <wx/docview.h>

namespace vnxtest {

// Reports in the file dialogs: name, pattern, extension, and the filter.
inline constexpr char kReportsName[] = "VNXTest Reports (*.vnt)";
inline constexpr char kReportPattern[] = "*.vnt";
inline constexpr char kReportExtension[] = "vnt";
wxString ReportFilter();

class CVNXTestDoc final : public wxDocument {
public:
    // The New command: asks whether the present text may be discarded, and starts over in the same window.
    void StartOver();
    // True if the document was saved to a path.
    bool HasPath() const { return GetDocumentSaved(); }

    // wxDocument The Save command. Writes a deleted file again. If the document's path cannot be written,
    // asks for another.
    bool Save() override;
    bool SaveAs() override;
    // Loading is not supported: writes the assertion line and returns false.
    bool OnOpenDocument(const wxString& path) override;
    // The save prompt before the program ends. True if the document may be discarded.
    bool OnSaveModified() override;

protected:
    bool DoSaveDocument(const wxString& path) override;

private:
    enum class Afterwards { Close, StartOver };

    bool MayDiscard(Afterwards afterwards);
    std::optional<wxString> AskPath();
    bool SaveTo(const wxString& path);

    wxDECLARE_DYNAMIC_CLASS(CVNXTestDoc);
};

} // namespace vnxtest
