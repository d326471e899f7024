#include "helpui/help_book.h"

#include <wx/app.h>
#include <wx/display.h>
#include <wx/filename.h>
#include <wx/filesys.h>
#include <wx/fs_zip.h>
#include <wx/html/helpctrl.h>
#include <wx/html/helpfrm.h>
#include <wx/html/helpwnd.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/splitter.h>
#include <wx/stdpaths.h>

#include "helpui/program_icons.h"
#include "widgets/caption/caption_button.h"
#include "widgets/make_child.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

// Measures in characters, so that large fonts have room.
const wxSize kFrameSize(128, 38);
constexpr int kContentsWidth = 42;
constexpr char kBookFile[] = "vnxtest.htb";
HelpBook* g_current = nullptr;

wxString FindBook() {
    const wxStandardPaths& paths = wxStandardPaths::Get();
    const wxString beside = wxFileName(paths.GetExecutablePath()).GetPath();
    const wxFileName installed(beside + "/" VNXTEST_BOOK_FOLDER, kBookFile);
    for (const wxFileName& candidate :
         {wxFileName(beside, kBookFile), installed, wxFileName(paths.GetResourcesDir(), kBookFile)}) {
        if (candidate.FileExists()) {
            return candidate.GetAbsolutePath();
        }
    }
    return {};
}

// The book's window, usable while a dialog of the program is open.
class Controller final : public wxHtmlHelpController {
public:
    explicit Controller(wxWindow* parent)
        : wxHtmlHelpController(wxHF_TOOLBAR | wxHF_CONTENTS | wxHF_INDEX | wxHF_SEARCH | wxHF_PRINT |
                                   wxHF_MERGE_BOOKS,
                               parent) {
        SetTitleFormat("%s - Netorra Help");
    }

    // The base's Display would block the caller, and the dialog that asked for help, until the book is
    // closed.
    bool Show(const wxString& page, bool withContents) {
        CreateHelpWindow();
        wxHtmlHelpWindow* window = GetHelpWindow();
        return window->Display(page) && (!withContents || window->DisplayContents());
    }

protected:
    wxHtmlHelpFrame* CreateHelpFrame(wxHtmlHelpData* data) override {
        wxHtmlHelpFrame* frame = wxHtmlHelpController::CreateHelpFrame(data);
        ExemptFromModality(*frame);
        frame->SetIcons(ProgramIcons());
        const wxSize character(frame->GetCharWidth(), frame->GetCharHeight());
        wxSize size(kFrameSize.x * character.x, kFrameSize.y * character.y);
        size.DecTo(wxDisplay(frame).GetClientArea().GetSize());
        frame->SetSize(size);
        for (wxWindow* child : frame->GetHelpWindow()->GetChildren()) {
            if (auto* splitter = dynamic_cast<wxSplitterWindow*>(child)) {
                splitter->SetSashPosition(kContentsWidth * character.x);
            }
        }
        return frame;
    }
};

} // namespace

class HelpBook::Viewer {
public:
    explicit Viewer(wxWindow* parent) : m_controller(parent) {}

    Controller m_controller;
};

HelpBook::HelpBook() : m_path(FindBook()) {
    g_current = this;
}

HelpBook::~HelpBook() {
    Close();
    if (g_current == this) {
        g_current = nullptr;
    }
}

HelpBook* HelpBook::Current() {
    return g_current;
}

bool HelpBook::OpenContents(wxWindow* parent) {
    return OpenTopic(parent, kContentsTopic);
}

bool HelpBook::Load() {
    if (!wxFileSystem::HasHandlerForPath("x.zip#zip:y")) {
        wxFileSystem::AddHandler(MakeChild<wxZipFSHandler>()); // the file system owns it
    }
    // A child of the main window, whichever dialog asks: it outlives the dialog and stays above the window.
    m_viewer = std::make_unique<Viewer>(wxTheApp->GetTopWindow());
    const wxLogNull quiet; // the caller shows a message
    return m_viewer->m_controller.AddBook(wxFileName(m_path));
}

bool HelpBook::OpenTopic(wxWindow* parent, const HelpTopic& topic) {
    const auto refuse = [this, parent](const wxString& message) {
        Close();
        wxMessageBox(message, kProductName, wxOK | wxICON_WARNING, parent);
        return false;
    };
    if (m_path.empty() || !wxFileName::FileExists(m_path)) {
        return refuse(wxString::Format(
            "The help book of Netorra was not found.\n\nIt should be beside the program, with the name %s.",
            kBookFile));
    }
    if (m_viewer == nullptr && !Load()) {
        return refuse("The help book of Netorra cannot be read:\n\n" + m_path);
    }
    Controller& controller = m_viewer->m_controller;
    const bool first = controller.GetFrame() == nullptr;
    const wxString page = wxString::FromUTF8(topic.page.data(), topic.page.size());
    if (!controller.Show(page, topic.number == kContentsTopic.number)) {
        return refuse("The help book of Netorra is damaged:\n\n" + m_path);
    }
    if (wxHtmlHelpFrame* frame = controller.GetFrame()) {
        if (first) {
            frame->CentreOnScreen();
        }
        frame->Raise();
    }
    return true;
}

void HelpBook::Close() {
    if (m_viewer != nullptr) {
        m_viewer->m_controller.Quit();
        m_viewer.reset();
    }
}

} // namespace vnxtest
