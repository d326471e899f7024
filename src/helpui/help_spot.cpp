#include "helpui/help_spot.h"

#include <algorithm>

#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/statusbr.h>

#include "widgets/caption/caption_button.h"
#include "widgets/caption/frame_area.h"

namespace vnxtest {

namespace {

// The least thickness of a scroll bar, in device-independent pixels.
constexpr int kThinBar = 8;

HelpSpot PartAt(int part, const wxPoint& point) {
    return {nullptr, part, wxRect(point, wxSize(1, 1))};
}

// The scroll bar of `window` at a point of the screen, or 0.
int ScrollBarAt(const wxWindow& window, const wxPoint& point) {
    const auto scrolls = [&window](int orientation) {
        return window.CanScroll(orientation) &&
               window.GetScrollRange(orientation) > window.GetScrollThumb(orientation);
    };
    const wxRect whole = window.GetScreenRect();
    const wxSize client = window.GetClientSize();
    // An overlay scroll bar lies within the client area.
    const int thin = window.FromDIP(kThinBar);
    const int width = std::max(whole.width - client.x, thin);
    const int height = std::max(whole.height - client.y, thin);
    const bool beside = point.x > whole.GetRight() - width && scrolls(wxVERTICAL);
    const bool below = point.y > whole.GetBottom() - height && scrolls(wxHORIZONTAL);
    if (beside == below) {
        return 0;
    }
    return beside ? frame_area::kVerticalScrollBar : frame_area::kHorizontalScrollBar;
}

// The innermost window at a point of the screen, disabled ones included; of siblings that lie over each
// other (a box and what it frames) the smallest.
wxWindow* FindInnermost(wxWindow& parent, const wxPoint& point) {
    wxWindow* best = nullptr;
    for (wxWindow* child : parent.GetChildren()) {
        if (child->IsTopLevel() || !child->IsShown() || !child->GetScreenRect().Contains(point)) {
            continue;
        }
        const wxSize size = child->GetSize();
        if (best == nullptr || size.x * size.y < best->GetSize().x * best->GetSize().y) {
            best = child;
        }
    }
    if (best == nullptr) {
        return &parent;
    }
    return FindInnermost(*best, point);
}

HelpSpot FindInStatusBar(const wxStatusBar& statusBar, bool maximized,
                         const std::function<bool(int part)>& hasHelp, const wxPoint& point) {
    const wxPoint origin = statusBar.ClientToScreen(wxPoint());
    const wxSize size = statusBar.GetSize();
    const bool grip = statusBar.HasFlag(wxSTB_SIZEGRIP) && !maximized;
    if (grip && point.x - origin.x >= size.x - size.y) {
        return PartAt(frame_area::kSizeBox, point);
    }
    for (int field = 0; field < statusBar.GetFieldsCount(); ++field) {
        wxRect place;
        if (!statusBar.GetFieldRect(field, place)) {
            continue;
        }
        place.Offset(origin);
        const int part = frame_area::kStatusField + field;
        if (place.Contains(point) && hasHelp(part)) {
            return {nullptr, part, place};
        }
    }
    return PartAt(frame_area::kStatusBar, point);
}

std::optional<HelpSpot> FindInBars(const wxFrame& frame, const std::function<bool(int part)>& hasHelp,
                                   const wxPoint& point) {
    const wxMenuBar* menuBar = frame.GetMenuBar();
    if (menuBar != nullptr && menuBar->GetScreenRect().Contains(point)) {
        return PartAt(frame_area::kMenuBar, point);
    }
    const wxStatusBar* statusBar = frame.GetStatusBar();
    if (statusBar != nullptr && statusBar->IsShown() && statusBar->GetScreenRect().Contains(point)) {
        return FindInStatusBar(*statusBar, frame.IsMaximized(), hasHelp, point);
    }
    return std::nullopt;
}

} // namespace

std::optional<HelpSpot> FindHelpSpot(wxTopLevelWindow& window, const CaptionButton& caption,
                                     const std::function<bool(int part)>& hasHelp, const wxPoint& point) {
    if (const std::optional<CaptionPart> part = caption.HitTest(point)) {
        const wxRect& place = part->place;
        const bool wide = place.width > window.FromDIP(kLargeForHelp);
        return HelpSpot{nullptr, part->area, wide ? wxRect(point.x, place.y, 1, place.height) : place};
    }
    if (const auto* frame = dynamic_cast<const wxFrame*>(&window)) {
        if (const std::optional<HelpSpot> bar = FindInBars(*frame, hasHelp, point)) {
            return bar;
        }
    }
    if (!wxRect(window.ClientToScreen(wxPoint()), window.GetClientSize()).Contains(point)) {
        return std::nullopt;
    }
    wxWindow* const innermost = FindInnermost(window, point);
    if (const int bar = ScrollBarAt(*innermost, point); bar != 0) {
        return PartAt(bar, point);
    }
    return HelpSpot{innermost, 0, wxRect(point, wxSize(1, 1))};
}

} // namespace vnxtest
