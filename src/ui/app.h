// The application: command line, profile, document manager with its one template, main window.
// User-interface thread.
#pragma once

#include <memory>
#include <string>

#include <wx/app.h>
#include <wx/docview.h>

#include "helpui/help_book.h"
#include "platform/files/profile.h"

namespace vnxtest {

class CMainFrame;
class CVNXTestDoc;

class CVNXTestApp final : public wxApp {
public:
    CVNXTestApp();

    // The window's settings, and those of a guest with the chosen library.
    Profile& UserProfile() { return *m_profile; }
    Profile& GuestProfile() { return *m_guestProfile; }
    const std::wstring& LibraryName() const { return m_libraryName; }
    CMainFrame& MainFrame() { return *m_frame; }

    // wxApp
    // --help and --version are answered here, before there is a display.
    bool Initialize(int& count, wxChar** words) override;
    bool OnInit() override;
    int OnExit() override;
    void OnInitCmdLine(wxCmdLineParser& parser) override;
    bool OnCmdLineParsed(wxCmdLineParser& parser) override;

private:
    CVNXTestDoc* Document();
    void BindFileCommands();
    void OnOpen();

    std::wstring m_libraryName = L"auto";
    std::unique_ptr<Profile> m_profile;
    std::unique_ptr<Profile> m_guestProfile;
    std::unique_ptr<HelpBook> m_helpBook;
    std::unique_ptr<wxDocManager> m_documents;
    CMainFrame* m_frame = nullptr;
};

// The one application object.
CVNXTestApp& TheApp();

} // namespace vnxtest
