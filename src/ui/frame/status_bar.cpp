#include "ui/frame/status_bar.h"

#include <array>

#include "widgets/accessible_name.h"

namespace vnxtest {

namespace {
constexpr int kMessageTime = 6000; // milliseconds
constexpr int kMenuTime = 500;     // milliseconds until the next check for a menu over the message
} // namespace

CStatusBar::CStatusBar(wxWindow* parent) : wxStatusBar(parent, wxID_ANY, wxSTB_DEFAULT_STYLE) {
    constexpr std::array kWidths = {-3, -4, -2};
    SetFieldsCount(static_cast<int>(kWidths.size()), kWidths.data());
    m_timer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { OnTimer(); });
}

void CStatusBar::Tell(const wxString& message) {
    m_message = message;
    SetStatusText(message.empty() ? m_standing : message);
    if (message.empty()) {
        m_timer.Stop();
    } else {
        m_timer.StartOnce(kMessageTime);
    }
}

void CStatusBar::TakeBack(const wxString& message) {
    if (m_message == message) {
        Tell(wxString());
    }
}

void CStatusBar::TellStanding(const wxString& message) {
    if (m_standing != message) {
        m_standing = message;
        Tell(wxString());
    }
}

void CStatusBar::TellCapture(const wxString& state) {
    if (GetFieldsCount() <= kCaptureField) {
        constexpr std::array kWidths = {-3, -4, -2, -3};
        SetFieldsCount(static_cast<int>(kWidths.size()), kWidths.data());
    }
    if (GetStatusText(kCaptureField) != state) {
        SetStatusText(state, kCaptureField);
    }
}

// A menu item's prompt covers the message; the menu restores it when it is closed.
void CStatusBar::OnTimer() {
    if (GetStatusText() == m_message) {
        Tell(wxString());
    } else {
        m_timer.StartOnce(kMenuTime);
    }
}

void CStatusBar::DoUpdateStatusText(int field) {
    wxStatusBar::DoUpdateStatusText(field);
    wxString all = "Status bar";
    for (int each = 0; each < GetFieldsCount(); ++each) {
        // After a menu's prompt the frame restores an empty text as one NUL.
        if (const wxString text = GetStatusText(each).BeforeFirst('\0'); !text.empty()) {
            all += ": " + text;
        }
    }
    SetAccessibleName(*this, all);
}

} // namespace vnxtest
