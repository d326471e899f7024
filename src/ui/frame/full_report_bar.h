// The bar over the report while it is full: the reason, and two ways out. User-interface thread.
#pragma once

#include <functional>

#include <wx/panel.h>

namespace vnxtest {

class CFullReportBar final : public wxPanel {
public:
    // Hidden at first. Its two buttons call `save` and `startOver`.
    CFullReportBar(wxWindow* parent, std::function<void()> save, std::function<void()> startOver);

    // Shows or hides it and lays out the windows around it.
    void ShowWhile(bool full);
};

} // namespace vnxtest
