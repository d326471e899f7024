#include "ui/app.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fmt/format.h>
#include <wx/cmdline.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/image.h>
#include <wx/utils.h>

#include "guest/engine.h"
#include "platform/process/privileges.h"
#include "platform/process/terminal.h"
#include "ui/document.h"
#include "ui/frame/command_ids.h"
#include "ui/frame/main_frame.h"
#include "ui/view.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr int kRecentFiles = 4;
constexpr int kFailed = 2; // the exit status

class DocumentManager final : public wxDocManager {
public:
    wxString MakeNewDocumentName() override { return "Untitled"; }
    wxFileHistory* OnCreateFileHistory() override { return MakeChild<wxFileHistory>(kRecentFiles); }
};

// Ends the program with `answer` on standard output.
[[noreturn]] void EndWith(const std::string& answer) {
    if (!WriteAll(stdout, answer)) {
        std::fprintf(stderr, "vnxtest: standard output cannot be written: %s\n", std::strerror(errno));
        std::exit(kFailed);
    }
    std::exit(EXIT_SUCCESS);
}

} // namespace

CVNXTestApp& TheApp() {
    return *static_cast<CVNXTestApp*>(wxTheApp);
}

CVNXTestApp::CVNXTestApp() {
    PrepareTerminal(); // it may have been started from one, with closed streams and a limit on file sizes
    // The toolkit and its modules must run without rights: the helper opens adapters. Root keeps the right
    // to its user's display and files. Done here, while this is the only thread: threads of the toolkit may
    // block the signal by which they are asked.
    const auto withoutRights =
        CheckRightsOfItsFile().and_then([] { return GiveUpPrivileges({.files = true}); });
    if (!withoutRights) {
        std::fprintf(stderr, "vnxtest: %s\n", ToUtf8(withoutRights.error().Describe()).c_str());
        std::exit(kFailed);
    }
    SetAppName(kProductName);
    SetAppDisplayName(kProductName);
    SetVendorName(kCompanyName);
    SetClassName("vnxtest");
}

bool CVNXTestApp::Initialize(int& count, wxChar** words) {
    for (int index = 1; index < count; ++index) {
        const wxString word = words[index];
        if (word == "--help" || word == "-h") {
            SetAppName(wxFileName(words[0]).GetName()); // the usage is of the command as it is typed
            wxCmdLineParser parser;
            OnInitCmdLine(parser);
            parser.SetLogo("");
            EndWith(parser.GetUsageString().utf8_string());
        }
        if (word == "--version" || word == "-V") {
            EndWith(fmt::format("{}\n", kProductAndVersion));
        }
    }
    // GTK's display loads the drivers of OpenGL, which nothing here draws with: a quarter of the start. A
    // browser that is opened from the help does not inherit that.
    const wxString drawing = "GDK_GL";
    const bool asUsual = wxGetEnv(drawing, nullptr);
    if (!asUsual) {
        wxSetEnv(drawing, "disable");
    }
    const bool ready = wxApp::Initialize(count, words);
    if (!asUsual) {
        wxUnsetEnv(drawing);
    }
    return ready;
}

void CVNXTestApp::OnInitCmdLine(wxCmdLineParser& parser) {
    wxApp::OnInitCmdLine(parser);
    parser.AddSwitch("V", "version", "show the version and end");
    parser.AddLongOption(
        "library",
        "Interface library: auto, pcap, tun, sim[:...], or the path of a shared library (default auto)");
}

bool CVNXTestApp::OnCmdLineParsed(wxCmdLineParser& parser) {
    wxString library;
    if (parser.Found("library", &library)) {
        m_libraryName = library.ToStdWstring();
    }
    return wxApp::OnCmdLineParsed(parser);
}

bool CVNXTestApp::OnInit() {
    if (!wxApp::OnInit()) {
        return false;
    }
    wxInitAllImageHandlers(); // the icons
    m_profile = OpenProfile();
    m_guestProfile = OpenGuestProfile(m_libraryName);
    m_helpBook = std::make_unique<HelpBook>();
    m_documents = std::make_unique<DocumentManager>();
    m_documents->SetMaxDocsOpen(1);
    // The manager owns its templates; the analyzer does not see that and reports the line below.
    MakeChild<wxDocTemplate>(m_documents.get(), kReportsName, kReportPattern, "", kReportExtension,
                             "VNXTest Report", "VNXTest", CLASSINFO(CVNXTestDoc), CLASSINFO(CVNXTestView));
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    m_frame = MakeChild<CMainFrame>(*m_documents, *m_profile);
    SetTopWindow(m_frame);
    BindFileCommands();
    if (m_documents->CreateNewDocument() == nullptr) {
        m_frame->Destroy();
        return false;
    }
    m_frame->Show();
    // The window appears first: gathering the host's network takes time.
    m_frame->CallAfter([this] {
        if (CVNXTestDoc* const document = Document()) {
            wxStaticCast(document->GetFirstView(), CVNXTestView)->InitialUpdate();
        }
    });
    return true;
}

int CVNXTestApp::OnExit() {
    m_documents.reset();
    m_helpBook.reset();
    m_guestProfile.reset();
    m_profile.reset();
    return wxApp::OnExit();
}

CVNXTestDoc* CVNXTestApp::Document() {
    return wxDynamicCast(m_documents->GetCurrentDocument(), CVNXTestDoc);
}

void CVNXTestApp::BindFileCommands() {
    Bind(
        wxEVT_MENU, [this](wxCommandEvent& event) { m_documents->OnFileSave(event); }, WindowId(kCmdSave));
    Bind(
        wxEVT_MENU, [this](wxCommandEvent&) { OnOpen(); }, WindowId(kCmdOpen));
    Bind(
        wxEVT_MENU,
        [this](wxCommandEvent&) {
            if (CVNXTestDoc* const document = Document()) {
                document->StartOver();
            }
        },
        WindowId(kCmdNew));
}

// As the framework's command, except for its file dialog, which would name the filter's pattern twice.
void CVNXTestApp::OnOpen() {
    CVNXTestDoc* const document = Document();
    if (document == nullptr) {
        return;
    }
    wxFileDialog dialog(m_frame, "Open File", m_documents->GetLastDirectory(), "", ReportFilter(),
                        wxFD_OPEN | wxFD_FILE_MUST_EXIST);
    if (dialog.ShowModal() == wxID_OK) {
        m_documents->SetLastDirectory(wxPathOnly(dialog.GetPath()));
        document->OnOpenDocument(dialog.GetPath());
    }
}

} // namespace vnxtest
