// Find and Find Next in the output view: the modeless dialog and what was last looked for.
// User-interface thread.
#pragma once

#include <functional>
#include <memory>

#include <wx/fdrepdlg.h>

#include "ui/text/output_text.h"

namespace vnxtest {

class OutputFinder {
public:
    // `text` must outlive this. `tell` shows the user a message; an empty one takes the last away.
    OutputFinder(COutputText& text, std::function<void(const wxString&)> tell)
        : m_text(text), m_tell(std::move(tell)) {}
    ~OutputFinder();
    OutputFinder(const OutputFinder&) = delete;
    OutputFinder& operator=(const OutputFinder&) = delete;

    // Opens the dialog, or brings it to the front; a short selection is what it offers to look for.
    void ShowDialog(wxWindow* parent);
    // Repeats the last search.
    void FindNext();
    // Something was looked for, so that it can be looked for again.
    bool HasText() const { return !m_data.GetFindString().empty(); }

private:
    void CloseDialog();

    COutputText& m_text;
    std::function<void(const wxString&)> m_tell;
    wxFindReplaceData m_data{wxFR_DOWN};
    wxFindReplaceDialog* m_dialog = nullptr;
};

} // namespace vnxtest
