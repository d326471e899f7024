// The system's visual styles and its window manager, as far as the caption is drawn with them.
//
// Both libraries are loaded at run time and their functions looked up by name at first use, so that the
// program runs where one is missing. A function that is not there is replaced by a stub with a fixed failure
// or false value: callers never test for presence, and fall back to the classic look when a call fails.
// Every load and every lookup is traced. User-interface thread only.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include <uxtheme.h>

namespace vnxtest {

// The address of an exported function, traced; null if there is none.
void* LookUpThemeFunction(HMODULE module, const char* name);

// A function of a library that is looked up at its first call. `failure` is what the stub returns.
template <typename Signature>
class LateFunction;

template <typename Result, typename... Arguments>
class LateFunction<Result WINAPI(Arguments...)> {
public:
    LateFunction(HMODULE module, const char* name, Result failure)
        : m_module(module), m_name(name), m_failure(failure) {}

    Result operator()(Arguments... arguments) {
        if (!std::exchange(m_lookedUp, true)) {
            m_function =
                reinterpret_cast<Result(WINAPI*)(Arguments...)>(LookUpThemeFunction(m_module, m_name));
        }
        return m_function != nullptr ? m_function(arguments...) : m_failure;
    }

private:
    HMODULE m_module;
    const char* m_name;
    Result m_failure;
    bool m_lookedUp = false;
    Result(WINAPI* m_function)(Arguments...) = nullptr;
};

class CVisualStylesXP {
    struct Unloader {
        void operator()(HMODULE module) const { FreeLibrary(module); }
    };
    using Module = std::unique_ptr<std::remove_pointer_t<HMODULE>, Unloader>;

    static Module Load(const wchar_t* name);
    // The exported name, or on Windows 11 and later one that no library exports.
    static const char* CompositionName(bool windows11OrLater);

    Module m_uxTheme;
    Module m_dwmApi;

public:
    explicit CVisualStylesXP(bool windows11OrLater = IsWindows11OrLater());
    static bool IsWindows11OrLater();

    // UxTheme.dll
    LateFunction<BOOL WINAPI()> IsThemeActive;
    // Deliberately always false on Windows 11 and later, so that the caption is drawn the way that it is
    // drawn without desktop composition.
    LateFunction<BOOL WINAPI()> IsCompositionActive;
    LateFunction<HTHEME WINAPI(HWND, LPCWSTR)> OpenThemeData;
    LateFunction<HRESULT WINAPI(HTHEME)> CloseThemeData;
    LateFunction<HRESULT WINAPI(HTHEME, HDC, int, int, LPCRECT, LPCRECT)> DrawThemeBackground;
    LateFunction<HRESULT WINAPI(HTHEME, int, LOGFONTW*)> GetThemeSysFont;
    LateFunction<HRESULT WINAPI(HTHEME, int, int, int, COLORREF*)> GetThemeColor;
    LateFunction<COLORREF WINAPI(HTHEME, int)> GetThemeSysColor;

    // DwmApi.dll
    LateFunction<HRESULT WINAPI(HWND, DWORD, LPCVOID, DWORD)> DwmSetWindowAttribute;
    LateFunction<HRESULT WINAPI(HWND, DWORD, PVOID, DWORD)> DwmGetWindowAttribute;
    LateFunction<HRESULT WINAPI(DWORD*, BOOL*)> DwmGetColorizationColor;

    // The calls above as the caption needs them; on failure traced, and false or nullopt.
    bool SetNonClientRendering(HWND window, bool byWindowManager);
    bool AllowNonClientPaint(HWND window);
    bool GetCaptionFont(HTHEME theme, LOGFONTW& font);
    // 0xAARRGGBB
    std::optional<DWORD> GetColorizationColour();
    // False as well where the window manager knows no dark captions (Windows 10 before its version 2004).
    std::optional<bool> IsCaptionDark(HWND window);
};

} // namespace vnxtest
