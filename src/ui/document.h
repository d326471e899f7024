// The document: the report text as it stands in the output view. It can be saved, not loaded.
//
// Saving writes UTF-8 with the platform's line ends and is atomic: a failed save leaves the old file and
// the document as they were. Leaving the program with "Save" stops the guest first, so that the report has
// its end. User-interface thread.
#pragma once

#include <optional>

#include <wx/docview.h>

namespace vnxtest {

// Reports in the file dialogs: what they are called, which files they are, and both as a filter.
inline constexpr char kReportsName[] = "VNXTest Reports (*.vnt)";
inline constexpr char kReportPattern[] = "*.vnt";
inline constexpr char kReportExtension[] = "vnt";
wxString ReportFilter();

class CVNXTestDoc final : public wxDocument {
public:
    // The New command: asks whether the present text may go, and starts over in the same window.
    void StartOver();
    // The document has a path that it was saved to.
    bool HasPath() const { return GetDocumentSaved(); }

    // wxDocument
    // The Save command. Also writes a file anew that is there no more. Where the document's path cannot be
    // written, another one is asked for.
    bool Save() override;
    bool SaveAs() override;
    // Loading is not supported: writes the assertion line and returns false.
    bool OnOpenDocument(const wxString& path) override;
    // The save prompt before the program ends. True when the document may be discarded.
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
