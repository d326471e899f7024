// The caption on Windows: the system's context help button for dialogs. A frame has minimize and maximize
// buttons, beside which the system shows none: there F1 and Shift+F1 ask for help until the frame draws a
// button of its own.
#include "helpui/caption_button.h"

#include <utility>

#include <wx/dialog.h>
#include <wx/msw/wrapwin.h>
#include <wx/toplevel.h>

#include "helpui/dialog_ids.h"

namespace vnxtest {

namespace {

int AreaOfHitTest(LRESULT code) {
    switch (code) {
    case HTCAPTION:
        return frame_area::kTitleBar;
    case HTSYSMENU:
        return frame_area::kSystemMenu;
    case HTSIZE:
        return frame_area::kSizeBox;
    case HTMENU:
        return frame_area::kMenuBar;
    case HTHSCROLL:
        return frame_area::kHorizontalScrollBar;
    case HTVSCROLL:
        return frame_area::kVerticalScrollBar;
    case HTMINBUTTON:
        return frame_area::kMinimizeButton;
    case HTMAXBUTTON:
        return frame_area::kMaximizeButton;
    case HTLEFT:
        return frame_area::kLeftEdge;
    case HTRIGHT:
        return frame_area::kRightEdge;
    case HTTOP:
        return frame_area::kTopEdge;
    case HTTOPLEFT:
        return frame_area::kTopLeftCorner;
    case HTTOPRIGHT:
        return frame_area::kTopRightCorner;
    case HTBOTTOM:
        return frame_area::kBottomEdge;
    case HTBOTTOMLEFT:
        return frame_area::kBottomLeftCorner;
    case HTBOTTOMRIGHT:
        return frame_area::kBottomRightCorner;
    case HTBORDER:
        return frame_area::kBorder;
    case HTCLOSE:
        return frame_area::kCloseButton;
    case HTHELP:
        return frame_area::kHelpButton;
    default:
        return 0;
    }
}

class WindowsCaption final : public CaptionButton {
public:
    WindowsCaption(wxTopLevelWindow& window, CaptionCallbacks callbacks)
        : m_window(window), m_callbacks(std::move(callbacks)) {
        if (dynamic_cast<wxDialog*>(&window) != nullptr) {
            const auto handle = static_cast<HWND>(window.GetHandle());
            ::SetWindowLongPtr(handle, GWL_EXSTYLE,
                               ::GetWindowLongPtr(handle, GWL_EXSTYLE) | WS_EX_CONTEXTHELP);
        }
    }

    std::optional<CaptionPart> HitTest(const wxPoint& point) const override {
        const LRESULT code = ::SendMessage(static_cast<HWND>(m_window.GetHandle()), WM_NCHITTEST, 0,
                                           MAKELPARAM(point.x, point.y));
        const int area = AreaOfHitTest(code);
        return area != 0 ? std::optional(CaptionPart{area, wxRect(point, wxSize(1, 1))}) : std::nullopt;
    }

    void SetPressed(bool) override {}

private:
    wxTopLevelWindow& m_window;
    CaptionCallbacks m_callbacks;
};

} // namespace

std::unique_ptr<CaptionButton> AddCaptionButton(wxTopLevelWindow& window, CaptionCallbacks callbacks) {
    return std::make_unique<WindowsCaption>(window, std::move(callbacks));
}

void ExemptFromModality(wxTopLevelWindow& window) {
    // Modality disables the windows that are there when it begins.
    window.Enable(true);
}

} // namespace vnxtest
