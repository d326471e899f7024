#include "helpui/whats_this_mode.h"

#include <utility>

namespace vnxtest {

WhatsThisMode::WhatsThisMode(wxTopLevelWindow& window, std::function<void(wxPoint)> clicked,
                             std::function<void(bool)> changed)
    : m_window(window), m_clicked(std::move(clicked)), m_changed(std::move(changed)) {}

void WhatsThisMode::Enter() {
    if (m_capture != nullptr) {
        return;
    }
    m_capture = HoldForWhatsThis(m_window, [this](std::optional<wxPoint> point) { OnEnded(point); });
    m_changed(m_capture != nullptr);
}

void WhatsThisMode::Leave() {
    if (m_capture != nullptr) {
        m_capture.reset();
        m_changed(false);
    }
}

void WhatsThisMode::OnEnded(std::optional<wxPoint> point) {
    Leave();
    if (point) {
        m_clicked(*point);
    }
}

} // namespace vnxtest
