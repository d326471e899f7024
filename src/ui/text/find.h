// Find and Find Next in the output view: the modeless dialog and the last search. User-interface thread.
#pragma once

#include <functional>
#include <memory>

#include <wx/fdrepdlg.h>

#include "ui/text/output_text.h"

namespace vnxtest {

class OutputFinder {
public:
    // `text` must outlive this. `tell` shows the user a message; an empty one removes the last.
    OutputFinder(COutputText& text, std::function<void(const wxString&)> tell)
        : m_text(text), m_tell(std::move(tell)) {}
    ~OutputFinder();
    OutputFinder(const OutputFinder&) = delete;
    OutputFinder& operator=(const OutputFinder&) = delete;

    // Opens the dialog, or raises it; it offers a short selection as the text.
    void ShowDialog(wxWindow* parent);
    // Repeats the last search.
    void FindNext();
    // True if there was a search that can be repeated.
    bool HasText() const { return !m_data.GetFindString().empty(); }

private:
    void CloseDialog();

    COutputText& m_text;
    std::function<void(const wxString&)> m_tell;
    wxFindReplaceData m_data{wxFR_DOWN};
    wxFindReplaceDialog* m_dialog = nullptr;
};

} // namespace vnxtest
