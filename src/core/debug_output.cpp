#include "core/debug_output.h"

#include <mutex>
#include <shared_mutex>

#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

bool g_registrationTried = false;
// Guards the registration. The library keeps the callback after it has ended, since the contract has no way
// to take it back; the callback then does nothing.
std::shared_mutex g_callbackLock;

} // namespace

void RegisterDebugOutput(VnetxLibrary& library) {
    if (g_registrationTried) {
        return;
    }
    g_registrationTried = true;
    SetLogOpen(true);
    if (library.SetDebugOutputFunc(&DebugOutputCallback) == 0) {
        SetLogOpen(false);
    }
}

bool IsDebugOutputRefused() {
    return g_registrationTried && !IsLogOpen();
}

void UnregisterDebugOutput() {
    const std::lock_guard lock(g_callbackLock); // waits until no thread is in the callback
    g_registrationTried = false;
    SetLogOpen(false);
}

void DebugOutputCallback(const char* text, ...) noexcept {
    if (text == nullptr) {
        return;
    }
    const ErrorKeeper keeper;
    try {
        const std::shared_lock lock(g_callbackLock);
        if (IsLogOpen()) {
            std::wstring lines = ToWide(text);
            MakeLinesVisible(lines);
            HandToLog(ToUtf8(lines));
        }
    } catch (...) {
        // No exception may reach the library's code. Without memory the line is lost.
    }
}

} // namespace vnxtest
