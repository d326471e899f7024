// Find and Find Next in the output view: the modeless dialog and the last search. User-interface thread.
#pragma once

#include <functional>
#include <memory>

#include <wx/fdrepdlg.h>

#include "ui/text/output_text.h"

namespace vnxtest {

class OutputFinder {
public:
    // Shows the user a message, or takes it back when it no longer `holds`.
    using Tell = std::function<void(const wxString& message, bool holds)>;

    // `text` must outlive this.
    OutputFinder(COutputText& text, Tell tell);
    ~OutputFinder();
    OutputFinder(const OutputFinder&) = delete;
    OutputFinder& operator=(const OutputFinder&) = delete;

    // Opens the dialog, or raises it; it offers a short selection as the text.
    void ShowDialog(wxWindow* parent);
    // Repeats the last search, or does so in the other direction.
    void FindNext() { Find(m_data.GetFlags()); }
    void FindPrevious() { Find(m_data.GetFlags() ^ wxFR_DOWN); }
    // True if there was a search that can be repeated.
    bool HasText() const { return !m_data.GetFindString().empty(); }

    // The report is another one.
    void StartOver() { TakeBack(); }

private:
    void Find(int flags);
    void Say(const wxString& message);
    void TakeBack();
    void OnSelection(wxStyledTextEvent& event);
    void CloseDialog();

    COutputText& m_text;
    Tell m_tell;
    wxString m_said;
    long m_from = 0; // the selection when it was said
    long m_to = 0;
    wxFindReplaceData m_data{wxFR_DOWN};
    wxFindReplaceDialog* m_dialog = nullptr;
};

} // namespace vnxtest
