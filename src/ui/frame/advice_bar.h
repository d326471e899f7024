// The bar over the report that says why something fails: one finding at a time, the gravest first, with a
// way to its page of the help book and one to put it away. User-interface thread.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include <wx/panel.h>

#include "advice/finding.h"

class wxStaticBitmap;
class wxStaticText;

namespace vnxtest {

class CAdviceBar final : public wxPanel {
public:
    // Hidden at first.
    explicit CAdviceBar(wxWindow* parent);

    // A new run of the guest: what was put away may be said again.
    void Begin();
    // What is to be said now. Shows the first finding that was not put away, or hides the bar.
    void Tell(Findings findings);

private:
    void ShowFirst();
    void WrapText();
    void OpenPage();
    void Dismiss();

    Findings m_findings; // without those put away
    std::set<std::pair<std::string, int>> m_dismissed;
    wxString m_text;    // as shown, before it is wrapped
    wxSize m_wrappedAt; // the width of the text, the height of the window
    wxStaticBitmap* m_icon = nullptr;
    wxStaticText* m_label = nullptr;
};

} // namespace vnxtest
