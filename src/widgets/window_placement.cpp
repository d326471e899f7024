#include "widgets/window_placement.h"

#include <array>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <utility>

#include <wx/display.h>
#include <wx/toplevel.h>

#include "wrenlib/format.h"

namespace vnxtest {

namespace {

struct Placement {
    wxRect place;
    bool maximized = false;
};

std::optional<Placement> ParsePlacement(const std::wstring& text) {
    std::wistringstream stream(text);
    std::array<int, 5> numbers{};
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        wchar_t comma = L',';
        if ((index > 0 && !(stream >> comma)) || comma != L',' || !(stream >> numbers[index])) {
            return std::nullopt;
        }
    }
    if (numbers[2] <= 0 || numbers[3] <= 0) {
        return std::nullopt;
    }
    return Placement{{numbers[0], numbers[1], numbers[2], numbers[3]}, numbers[4] != 0};
}

// While a window manager puts a new window into its frame, it tells places in between, some ten pixels away.
// On a busy machine these stay for a while.
constexpr int kStandsStillMs = 250;

// True if the upper part of the window, by which it can be moved, is on a screen.
bool CanBeReached(const wxRect& place) {
    return wxDisplay::GetFromPoint(wxPoint(place.x + place.width / 2, place.y + place.height / 8)) !=
           wxNOT_FOUND;
}

} // namespace

WindowPlacement::WindowPlacement(wxTopLevelWindow& window, Profile& profile, std::wstring name)
    : m_window(window), m_profile(profile), m_name(std::move(name)) {
    m_settlement.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { OnSettled(); });
}

void WindowPlacement::Restore(PlacementParts parts) {
    const auto placement = ParsePlacement(m_profile.ReadText(m_name, L""));
    if (!placement || !CanBeReached(placement->place)) {
        return;
    }
    m_window.Bind(wxEVT_IDLE, &WindowPlacement::OnIdle, this);
    m_wanted = placement->place.GetPosition();
    if (parts == PlacementParts::Position) {
        m_window.SetPosition(m_wanted);
        return;
    }
    m_window.SetSize(placement->place);
    if (placement->maximized) {
        m_window.Maximize();
    }
}

void WindowPlacement::OnIdle(wxIdleEvent& event) {
    event.Skip();
    if (m_window.IsShownOnScreen()) {
        m_window.Unbind(wxEVT_IDLE, &WindowPlacement::OnIdle, this);
        m_window.Bind(wxEVT_MOVE, &WindowPlacement::OnMove, this);
        m_settlement.StartOnce(kStandsStillMs);
    }
}

void WindowPlacement::OnMove(wxMoveEvent& event) {
    event.Skip();
    m_settlement.StartOnce(kStandsStillMs);
}

// A window that draws its own caption is placed with a small offset. Without this correction it would drift
// with each start.
void WindowPlacement::OnSettled() {
    m_window.Unbind(wxEVT_MOVE, &WindowPlacement::OnMove, this);
    constexpr int kLargest = 64;
    const wxPoint displacement = m_wanted - m_window.GetPosition();
    if (displacement != wxPoint() && std::abs(displacement.x) <= kLargest &&
        std::abs(displacement.y) <= kLargest && !m_window.IsMaximized()) {
        m_window.Move(m_wanted + displacement);
    }
}

void WindowPlacement::Save() {
    if (m_window.IsIconized()) {
        return;
    }
    wxRect place = m_window.GetRect();
    if (m_settlement.IsRunning()) {
        place.SetPosition(m_wanted); // not yet corrected
    }
    if (m_window.IsMaximized()) {
        // Keeps the place that it will be restored to.
        if (const auto before = ParsePlacement(m_profile.ReadText(m_name, L""))) {
            place = before->place;
        }
    }
    m_profile.WriteText(m_name, Sprintf(L"%d,%d,%d,%d,%d", place.x, place.y, place.width, place.height,
                                        m_window.IsMaximized() ? 1 : 0));
}

} // namespace vnxtest
