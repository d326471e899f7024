// The balloon of Windows: a tooltip control that stays where it is put.
#include "widgets/balloon_window.h"

#include <algorithm>
#include <string>

#include <wx/app.h>
#include <wx/msw/wrapwin.h>
#include <wx/toplevel.h>

#include <commctrl.h>

namespace vnxtest {

namespace {

constexpr int kTextWidth = 48; // characters, at which the text is wrapped
constexpr int kTipOffset = 18; // from the left edge of what it points at (device-independent pixels)
constexpr int kOverlap = 3;    // how far its tip reaches over the edge of that
constexpr UINT_PTR kSubclass = 1;

static_assert(static_cast<int>(BalloonIcon::Information) == TTI_INFO &&
              static_cast<int>(BalloonIcon::Warning) == TTI_WARNING &&
              static_cast<int>(BalloonIcon::Error) == TTI_ERROR);

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter, UINT_PTR, DWORD_PTR) {
    if (message == WM_LBUTTONDOWN || message == WM_RBUTTONDOWN || message == WM_MBUTTONDOWN) {
        wxTheApp->CallAfter([] { DismissBalloon(); });
        return 0;
    }
    if (message == WM_NCDESTROY) {
        RemoveWindowSubclass(window, &OnMessage, kSubclass);
    }
    return DefSubclassProc(window, message, wide, parameter);
}

class SystemBalloon final : public BalloonWindow {
public:
    SystemBalloon(wxWindow* owner, const wxRect& part, const BalloonContents& contents)
        : m_text(contents.text.ToStdWstring()) {
        const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES};
        InitCommonControlsEx(&classes);
        const auto ownerHandle = static_cast<HWND>(owner->GetHandle());
        m_tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                WS_POPUP | TTS_NOPREFIX | TTS_BALLOON | TTS_ALWAYSTIP, CW_USEDEFAULT,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, ownerHandle, nullptr,
                                GetModuleHandleW(nullptr), nullptr);
        SetWindowSubclass(m_tip, &OnMessage, kSubclass, 0);
        m_tool.cbSize = sizeof m_tool;
        m_tool.uFlags = TTF_TRACK | TTF_ABSOLUTE;
        m_tool.hwnd = ownerHandle;
        m_tool.lpszText = m_text.data();
        Send(TTM_SETMAXTIPWIDTH, 0, kTextWidth * owner->GetCharWidth());
        Send(TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&m_tool));
        // Help has an icon, too: without one Wine underestimates the title's height and cuts off the last
        // line.
        Send(TTM_SETTITLEW, contents.isHelp ? TTI_INFO : static_cast<WPARAM>(contents.icon),
             reinterpret_cast<LPARAM>(contents.title.wc_str()));
        // The system chooses the side. If it is not below, the tip must point at the upper edge, or the
        // balloon would cover the control.
        const int x = part.x + std::min(owner->FromDIP(kTipOffset), part.width / 2);
        const int overlap = std::min(owner->FromDIP(kOverlap), part.height / 2);
        PointAt(x, part.GetBottom() + 1 - overlap);
        Send(TTM_TRACKACTIVATE, TRUE, reinterpret_cast<LPARAM>(&m_tool));
        if (Place().y < part.y) {
            PointAt(x, part.y + overlap);
        }
    }
    SystemBalloon(const SystemBalloon&) = delete;
    SystemBalloon& operator=(const SystemBalloon&) = delete;
    ~SystemBalloon() override { DestroyWindow(m_tip); }

    wxWindow* Window() const override { return nullptr; }

    wxRect Place() const override {
        RECT place{};
        GetWindowRect(m_tip, &place);
        return {wxPoint(place.left, place.top), wxPoint(place.right - 1, place.bottom - 1)};
    }

private:
    LRESULT Send(UINT message, WPARAM wide, LPARAM parameter) {
        return SendMessageW(m_tip, message, wide, parameter);
    }
    void PointAt(int x, int y) { Send(TTM_TRACKPOSITION, 0, MAKELPARAM(x, y)); }

    std::wstring m_text;
    HWND m_tip = nullptr;
    TTTOOLINFOW m_tool{};
};

} // namespace

std::unique_ptr<BalloonWindow> MakeBalloonWindow(wxWindow* owner, const wxRect& part,
                                                 const BalloonContents& contents) {
    return std::make_unique<SystemBalloon>(owner, part, contents);
}

} // namespace vnxtest
