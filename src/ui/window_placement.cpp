#include "ui/window_placement.h"

#include <array>
#include <optional>
#include <sstream>

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

// The upper part of the window, by which it can be taken and moved, is on a screen.
bool CanBeReached(const wxRect& place) {
    return wxDisplay::GetFromPoint(wxPoint(place.x + place.width / 2, place.y + place.height / 8)) !=
           wxNOT_FOUND;
}

} // namespace

void RestoreWindowPlacement(wxTopLevelWindow& window, Profile& profile, std::wstring_view name,
                            PlacementParts parts) {
    const auto placement = ParsePlacement(profile.ReadText(name, L""));
    if (!placement || !CanBeReached(placement->place)) {
        return;
    }
    if (parts == PlacementParts::Position) {
        window.SetPosition(placement->place.GetPosition());
        return;
    }
    window.SetSize(placement->place);
    if (placement->maximized) {
        window.Maximize();
    }
}

void SaveWindowPlacement(const wxTopLevelWindow& window, Profile& profile, std::wstring_view name) {
    if (window.IsIconized()) {
        return;
    }
    wxRect place = window.GetRect();
    if (window.IsMaximized()) {
        // What it had before is what it goes back to.
        if (const auto before = ParsePlacement(profile.ReadText(name, L""))) {
            place = before->place;
        }
    }
    profile.WriteText(name, Sprintf(L"%d,%d,%d,%d,%d", place.x, place.y, place.width, place.height,
                                    window.IsMaximized() ? 1 : 0));
}

} // namespace vnxtest
