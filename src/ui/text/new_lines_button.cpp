#include "ui/text/new_lines_button.h"

namespace vnxtest {

CNewLinesButton::CNewLinesButton(COutputText& text)
    : wxButton(&text, wxID_ANY, "New lines below", wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT) {
    Hide();
    SetCanFocus(false);
    SetCursor(*wxSTANDARD_CURSOR);
    SetToolTip("Go to the end of the report and follow it (End)");
    Bind(wxEVT_BUTTON, [&text](wxCommandEvent&) {
        text.FollowEnd();
        text.SetFocus();
    });
    text.WhenNewLinesBelow([this](bool below) {
        // Later: the text may be drawing itself.
        CallAfter([this, below] {
            Show(below);
            Place();
        });
    });
    text.Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        Place();
        event.Skip();
    });
}

void CNewLinesButton::Place() {
    if (!IsShown()) {
        return;
    }
    const wxSize size = GetBestSize() + FromDIP(wxSize(12, 0));
    const wxSize room = GetParent()->GetClientSize() - size - FromDIP(wxSize(8, 8));
    SetSize(wxRect(wxPoint(room.x, room.y), size));
}

} // namespace vnxtest
