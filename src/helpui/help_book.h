// The help book: finds it, opens it at its contents or at a topic, and keeps it usable while a dialog of
// the program is open.
//
// The application owns one HelpBook for as long as it runs; the windows reach it through Current().
// User-interface thread only.
#pragma once

#include <memory>

#include <wx/string.h>

#include "helpui/help_table.h"

class wxWindow;

namespace vnxtest {

class HelpBook {
public:
    // Looks for vnxtest.htb beside the program, then in the share folder of its installation. The book is
    // opened when it is first shown. Becomes Current() until destroyed.
    HelpBook();
    ~HelpBook();
    HelpBook(const HelpBook&) = delete;
    HelpBook& operator=(const HelpBook&) = delete;

    // The application's book; null if there is none.
    static HelpBook* Current();

    // Shows the table of contents, or a topic. `parent` is the window that asks. False, after a message to
    // the user, if there is no book or it cannot be read.
    bool OpenContents(wxWindow* parent);
    bool OpenTopic(wxWindow* parent, const HelpTopic& topic);

    // Closes the book's window if it is open.
    void Close();

private:
    class Viewer;
    bool Load();

    wxString m_path;
    std::unique_ptr<Viewer> m_viewer;
};

} // namespace vnxtest
