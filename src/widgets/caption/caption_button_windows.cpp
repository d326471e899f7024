// The caption on Windows: the system's context help button for dialogs. A frame has minimize and maximize
// buttons, beside which the system shows no help button: there one is drawn before the others
// (caption_drawing.h). The program's items go into the system's menu of the window.
#include "widgets/caption/caption_button.h"

#include <algorithm>
#include <utility>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/menu.h>
#include <wx/msw/wrapwin.h>
#include <wx/toplevel.h>

#include <commctrl.h>

#include "widgets/caption/caption_drawing.h"
#include "widgets/caption/caption_glyph_windows.h"
#include "widgets/caption/caption_system_windows.h"
#include "widgets/caption/frame_area.h"
#include "widgets/caption/visual_styles_windows.h"

namespace vnxtest {

namespace {

constexpr UINT_PTR kSubclass = 1;
// The system uses the four low bits of a system command itself.
constexpr WPARAM kSystemCommandMask = 0xFFF0;

int AreaOfHitTest(LRESULT code, bool maximized) {
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
        return maximized ? frame_area::kRestoreButton : frame_area::kMaximizeButton;
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

CVisualStylesXP& VisualStyles() {
    static CVisualStylesXP styles;
    return styles;
}

bool MayBeMnemonic(const wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    return event.GetModifiers() == wxMOD_ALT && ((key >= 'A' && key <= 'Z') || (key >= '0' && key <= '9'));
}

// The toolkit looks for a mnemonic in the innermost container only. This looks in the whole dialog first.
void OnMnemonic(wxKeyEvent& event) {
    if (!MayBeMnemonic(event)) {
        event.Skip();
        return;
    }
    const int key = event.GetKeyCode();
    constexpr LPARAM kAltIsDown = LPARAM{1} << 29;
    MSG message{};
    message.hwnd = GetFocus();
    message.message = WM_SYSCHAR;
    message.wParam = static_cast<WPARAM>(key >= 'A' ? key - 'A' + 'a' : key);
    message.lParam = kAltIsDown;
    IsDialogMessageW(GetAncestor(message.hwnd, GA_ROOT), &message);
}

// A button that can be pressed and has the capital letter after the "&" of its label; null if there is none.
wxButton* FindButton(const wxWindow& within, int letter) {
    for (wxWindow* const child : within.GetChildren()) {
        if (!child->IsShown() || !child->IsEnabled() || child->IsTopLevel()) {
            continue;
        }
        auto* const button = dynamic_cast<wxButton*>(child);
        if (button != nullptr && button->GetLabel().Upper().Contains(wxString("&") + wxUniChar(letter))) {
            return button;
        }
        if (wxButton* const found = FindButton(*child, letter)) {
            return found;
        }
    }
    return nullptr;
}

// In a frame the toolkit leaves Alt and a letter to the menu bar alone. The buttons of its bars come first.
void OnFrameMnemonic(wxKeyEvent& event, const wxTopLevelWindow& frame) {
    wxButton* const button = MayBeMnemonic(event) ? FindButton(frame, event.GetKeyCode()) : nullptr;
    if (button == nullptr) {
        event.Skip();
        return;
    }
    wxCommandEvent press(wxEVT_BUTTON, button->GetId());
    press.SetEventObject(button);
    button->ProcessWindowEvent(press);
}

class WindowsCaption final : public CaptionButton {
public:
    WindowsCaption(wxTopLevelWindow& window, CaptionCallbacks callbacks)
        : m_window(window), m_handle(static_cast<HWND>(window.GetHandle())),
          m_callbacks(std::move(callbacks)), m_ownButton(dynamic_cast<wxDialog*>(&window) == nullptr) {
        if (!m_ownButton) {
            window.Bind(wxEVT_CHAR_HOOK, &OnMnemonic);
            SetWindowLongPtrW(m_handle, GWL_EXSTYLE,
                              GetWindowLongPtrW(m_handle, GWL_EXSTYLE) | WS_EX_CONTEXTHELP);
            SetWindowPos(m_handle, nullptr, 0, 0, 0, 0,
                         SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        }
        SetWindowSubclass(m_handle, &WindowsCaption::OnMessage, kSubclass, reinterpret_cast<DWORD_PTR>(this));
        if (m_ownButton) {
            m_drawing.Open();
            window.Bind(wxEVT_CHAR_HOOK, [&window](wxKeyEvent& event) { OnFrameMnemonic(event, window); });
        }
    }
    WindowsCaption(const WindowsCaption&) = delete;
    WindowsCaption& operator=(const WindowsCaption&) = delete;
    ~WindowsCaption() override { RemoveWindowSubclass(m_handle, &WindowsCaption::OnMessage, kSubclass); }

    std::optional<CaptionPart> HitTest(const wxPoint& point) const override {
        const LRESULT code = SendMessageW(m_handle, WM_NCHITTEST, 0, MAKELPARAM(point.x, point.y));
        const int area = AreaOfHitTest(code, m_window.IsMaximized());
        return area != 0 ? std::optional(CaptionPart{area, wxRect(point, wxSize(1, 1))}) : std::nullopt;
    }

    void SetPressed(bool pressed) override {
        m_on = pressed;
        Draw();
    }

private:
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter, UINT_PTR,
                                      DWORD_PTR data) {
        auto& caption = *reinterpret_cast<WindowsCaption*>(data);
        if (caption.Handles(message, wide, parameter)) {
            return 0;
        }
        LRESULT result = DefSubclassProc(window, message, wide, parameter);
        if (caption.m_ownButton) {
            caption.After(message, wide, parameter, result);
        }
        return result;
    }

    // Handles a message before the window does; true if the window is not to see it.
    bool Handles(UINT message, WPARAM wide, LPARAM parameter) {
        switch (message) {
        case WM_SYSCOMMAND:
            if ((wide & kSystemCommandMask) == SC_CONTEXTHELP) {
                m_window.CallAfter(m_callbacks.help);
                return true;
            }
            return RunSystemMenuItem(wide);
        case WM_INITMENUPOPUP:
            if (HIWORD(parameter) != 0) {
                FillSystemMenu(reinterpret_cast<HMENU>(wide));
            }
            return false;
        case WM_NCLBUTTONDOWN:
        case WM_NCLBUTTONDBLCLK:
            if (m_ownButton && wide == HTHELP) {
                m_held = m_hot = true;
                SetCapture(m_handle);
                Draw();
                return true;
            }
            return false;
        case WM_MOUSEMOVE:
            if (m_held) {
                SetHot(IsOnButton(MousePosition()));
            }
            return m_held;
        case WM_LBUTTONUP:
            if (!m_held) {
                return false;
            }
            m_held = false;
            ReleaseCapture();
            if (IsOnButton(MousePosition())) {
                m_window.CallAfter(m_callbacks.help);
            }
            Draw();
            return true;
        default:
            return false;
        }
    }

    // Updates the help button after the system has handled a message.
    void After(UINT message, WPARAM wide, LPARAM parameter, LRESULT& result) {
        switch (message) {
        case WM_NCHITTEST:
            if (IsOnButton({static_cast<short>(LOWORD(parameter)), static_cast<short>(HIWORD(parameter))})) {
                result = HTHELP;
            }
            break;
        case WM_NCMOUSEMOVE: {
            SetHot(
                IsOnButton({static_cast<short>(LOWORD(parameter)), static_cast<short>(HIWORD(parameter))}));
            TRACKMOUSEEVENT leave = {sizeof leave, TME_LEAVE | TME_NONCLIENT, m_handle, 0};
            TrackMouseEvent(&leave);
            break;
        }
        case WM_NCMOUSELEAVE:
            SetHot(false);
            break;
        case WM_CAPTURECHANGED:
            m_held = false;
            Draw();
            break;
        case WM_NCACTIVATE:
            // While this message says so, another window may still be the active one, or this one no more.
            m_active = wide != FALSE;
            Draw();
            break;
        case WM_NCPAINT:
        case WM_SETTEXT:
        case WM_SETICON:
        case WM_DWMCOLORIZATIONCOLORCHANGED:
        case WM_SYSCOLORCHANGE:
        case WM_SETTINGCHANGE: // high contrast, or another colour of the captions
            Draw();
            break;
        case WM_THEMECHANGED:
        case WM_DWMCOMPOSITIONCHANGED:
            m_drawing.Open();
            RedrawWindow(m_handle, nullptr, nullptr, RDW_FRAME | RDW_INVALIDATE);
            break;
        default:
            break;
        }
    }

    static POINT MousePosition() {
        POINT point{};
        GetCursorPos(&point);
        return point;
    }

    // The button's place on the screen: as large as the leftmost of the system's buttons, and before it.
    RECT Place() const {
        TITLEBARINFOEX info{};
        info.cbSize = sizeof info;
        SendMessageW(m_handle, WM_GETTITLEBARINFOEX, 0, reinterpret_cast<LPARAM>(&info));
        constexpr int kMinimize = 2;
        RECT place = info.rgrect[kMinimize];
        if (IsRectEmpty(&place)) {
            TITLEBARINFO bar{};
            bar.cbSize = sizeof bar;
            if (GetTitleBarInfo(m_handle, &bar) == FALSE || IsRectEmpty(&bar.rcTitleBar)) {
                return {};
            }
            // Three buttons of the system's size stand at the end of the bar.
            place = bar.rcTitleBar;
            place.right -= 2 * GetSystemMetrics(SM_CXSIZE);
            place.left = place.right - GetSystemMetrics(SM_CXSIZE);
            InflateRect(&place, 0, -2);
        }
        OffsetRect(&place, place.left - place.right, 0);
        return place;
    }

    bool IsOnButton(POINT point) const {
        const RECT place = Place();
        return PtInRect(&place, point) != FALSE;
    }

    void SetHot(bool hot) {
        if (std::exchange(m_hot, hot) != hot) {
            Draw();
        }
    }

    void Draw() {
        RECT place = Place();
        if (!m_ownButton || IsRectEmpty(&place) || IsIconic(m_handle)) {
            return;
        }
        RECT window{};
        GetWindowRect(m_handle, &window);
        OffsetRect(&place, -window.left, -window.top);
        const bool pushed = m_on || (m_held && m_hot);
        const HDC dc = GetWindowDC(m_handle);
        // Nobody else paints where the button was in a caption of the window manager.
        if (m_drawing.IsComposed() && !IsRectEmpty(&m_drawn) && EqualRect(&m_drawn, &place) == FALSE) {
            ClearCaption(dc, m_drawn);
        }
        m_drawn = place;
        m_system.SetTarget(dc, place);
        m_drawing.Draw(m_active, pushed  ? HelpButtonState::kPushed
                                 : m_hot ? HelpButtonState::kHot
                                         : HelpButtonState::kNormal);
        ReleaseDC(m_handle, dc);
    }

    // Adds the program's items, once, after the system's.
    void FillSystemMenu(HMENU menu) const {
        if (!m_callbacks.fillSystemMenu) {
            return;
        }
        wxMenu own;
        m_callbacks.fillSystemMenu(own);
        bool first = true;
        for (const wxMenuItem* item : own.GetMenuItems()) {
            const auto id = static_cast<UINT>(item->GetMSWId());
            if (item->IsSeparator() || GetMenuState(menu, id, MF_BYCOMMAND) != static_cast<UINT>(-1)) {
                continue;
            }
            if (std::exchange(first, false)) {
                AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
            }
            AppendMenuW(menu, MF_STRING, id, item->GetItemLabel().wc_str());
        }
    }

    bool RunSystemMenuItem(WPARAM command) {
        if (!m_callbacks.fillSystemMenu || command >= SC_SIZE) {
            return false;
        }
        wxMenu own;
        m_callbacks.fillSystemMenu(own);
        for (const wxMenuItem* item : own.GetMenuItems()) {
            if ((WPARAM{item->GetMSWId()} & kSystemCommandMask) == (command & kSystemCommandMask)) {
                wxCommandEvent event(wxEVT_MENU, item->GetId());
                event.SetEventObject(&m_window);
                m_window.GetEventHandler()->AddPendingEvent(event);
                return true;
            }
        }
        return false;
    }

    wxTopLevelWindow& m_window;
    HWND m_handle;
    CaptionCallbacks m_callbacks;
    const bool m_ownButton;
    WindowsCaptionSystem m_system{VisualStyles(), m_handle};
    CaptionDrawing m_drawing{m_system};
    RECT m_drawn{};        // where the button was drawn last, in the window
    bool m_active = false; // the caption is that of an active window
    bool m_on = false;     // "What's This?" mode
    bool m_held = false;   // pressed, the mouse button not let go yet
    bool m_hot = false;    // under the mouse pointer
};

} // namespace

std::unique_ptr<CaptionButton> AddCaptionButton(wxTopLevelWindow& window, CaptionCallbacks callbacks) {
    return std::make_unique<WindowsCaption>(window, std::move(callbacks));
}

void ExemptFromModality(wxTopLevelWindow& window) {
    // Modality disables the windows that exist when it begins.
    window.Enable(true);
}

} // namespace vnxtest
