#include "widgets/caption/visual_styles_windows.h"

#include <dwmapi.h>
#include <vssym32.h>

#include "platform/system/system_identity.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"

namespace vnxtest {

namespace {

bool Succeeded(HRESULT result, const wchar_t* call) {
    const auto code = static_cast<std::uint32_t>(result);
    if (FAILED(result)) {
        WrenLibAfxTrace(L"%s FAILED! rc = %u (0x%08.8X): %s\n", call, code, code, FormatLastError(code));
    }
    return SUCCEEDED(result);
}

} // namespace

void* LookUpThemeFunction(HMODULE module, const char* name) {
    SetLastError(module != nullptr ? ERROR_SUCCESS : ERROR_MOD_NOT_FOUND);
    void* const function =
        module != nullptr ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
    const std::uint32_t code = LastError();
    if (function != nullptr) {
        WrenLibAfxTrace(L"CVisualStylesXP: GetProcAddress( %s ) succeeded\n", ToWide(name));
    } else {
        WrenLibAfxTrace(L"CVisualStylesXP: GetProcAddress( %s ) FAILED! rc = %u (0x%08.8X): %s\n",
                        ToWide(name), code, code, FormatLastError(code));
    }
    return function;
}

CVisualStylesXP::Module CVisualStylesXP::Load(const wchar_t* name) {
    Module module(LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    const std::uint32_t code = LastError();
    if (module != nullptr) {
        WrenLibAfxTrace(L"CVisualStylesXP: LoadLibrary( %s ) succeeded\n", name);
    } else {
        WrenLibAfxTrace(L"CVisualStylesXP: LoadLibrary( %s ) FAILED! rc = %u (0x%08.8X): %s\n", name, code,
                        code, FormatLastError(code));
    }
    return module;
}

const char* CVisualStylesXP::CompositionName(bool windows11OrLater) {
    return windows11OrLater ? "IsCompositionActive_NotOnWindows11" : "IsCompositionActive";
}

bool CVisualStylesXP::IsWindows11OrLater() {
    constexpr std::uint32_t kFirstBuildOfWindows11 = 22000;
    const SystemIdentity identity = GetSystemIdentity();
    return identity.majorVersion > 10 ||
           (identity.majorVersion == 10 && identity.buildNumber >= kFirstBuildOfWindows11);
}

CVisualStylesXP::CVisualStylesXP(bool windows11OrLater)
    : m_uxTheme(Load(L"UxTheme.dll")), m_dwmApi(Load(L"DwmApi.dll")),
      IsThemeActive(m_uxTheme.get(), "IsThemeActive", FALSE),
      IsCompositionActive(m_uxTheme.get(), CompositionName(windows11OrLater), FALSE),
      OpenThemeData(m_uxTheme.get(), "OpenThemeData", nullptr),
      CloseThemeData(m_uxTheme.get(), "CloseThemeData", E_NOTIMPL),
      DrawThemeBackground(m_uxTheme.get(), "DrawThemeBackground", E_NOTIMPL),
      GetThemeSysFont(m_uxTheme.get(), "GetThemeSysFont", E_NOTIMPL),
      GetThemeColor(m_uxTheme.get(), "GetThemeColor", E_NOTIMPL),
      GetThemeSysColor(m_uxTheme.get(), "GetThemeSysColor", 0),
      DwmSetWindowAttribute(m_dwmApi.get(), "DwmSetWindowAttribute", E_NOTIMPL),
      DwmGetWindowAttribute(m_dwmApi.get(), "DwmGetWindowAttribute", E_NOTIMPL),
      DwmGetColorizationColor(m_dwmApi.get(), "DwmGetColorizationColor", E_NOTIMPL) {}

bool CVisualStylesXP::SetNonClientRendering(HWND window, bool byWindowManager) {
    const DWORD policy = byWindowManager ? DWMNCRP_USEWINDOWSTYLE : DWMNCRP_DISABLED;
    return Succeeded(DwmSetWindowAttribute(window, DWMWA_NCRENDERING_POLICY, &policy, sizeof policy),
                     L"DwmSetWindowAttribute( DWMWA_NCRENDERING_POLICY )");
}

bool CVisualStylesXP::AllowNonClientPaint(HWND window) {
    const BOOL allow = TRUE;
    return Succeeded(DwmSetWindowAttribute(window, DWMWA_ALLOW_NCPAINT, &allow, sizeof allow),
                     L"DwmSetWindowAttribute( DWMWA_ALLOW_NCPAINT )");
}

bool CVisualStylesXP::GetCaptionFont(HTHEME theme, LOGFONTW& font) {
    return Succeeded(GetThemeSysFont(theme, TMT_CAPTIONFONT, &font), L"GetThemeSysFont()");
}

std::optional<DWORD> CVisualStylesXP::GetColorizationColour() {
    DWORD colour = 0;
    BOOL opaque = FALSE;
    return Succeeded(DwmGetColorizationColor(&colour, &opaque), L"DwmGetColorizationColor()")
               ? std::optional(colour)
               : std::nullopt;
}

std::optional<bool> CVisualStylesXP::IsCaptionDark(HWND window) {
    constexpr DWORD kUseImmersiveDarkMode = 20; // not in the compiler's headers
    BOOL dark = FALSE;
    const HRESULT result = DwmGetWindowAttribute(window, kUseImmersiveDarkMode, &dark, sizeof dark);
    if (result == E_INVALIDARG) {
        return false;
    }
    return Succeeded(result, L"DwmGetWindowAttribute( DWMWA_USE_IMMERSIVE_DARK_MODE )")
               ? std::optional(dark != FALSE)
               : std::nullopt;
}

} // namespace vnxtest
