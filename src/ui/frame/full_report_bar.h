// The bar over the report while it is full: what happened, and what can be done. User-interface thread.
#pragma once

#include <functional>

#include <wx/panel.h>

namespace vnxtest {

class CFullReportBar final : public wxPanel {
public:
    // Hidden at first. `save` and `startOver` are what its two buttons do.
    CFullReportBar(wxWindow* parent, std::function<void()> save, std::function<void()> startOver);

    // Shows or hides it, and gives the room to what stands beside it.
    void ShowWhile(bool full);
};

} // namespace vnxtest
