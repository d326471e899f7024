#include "wrenlib/trace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "wrenlib/errors.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

void WriteToDebugger(std::wstring_view text);
bool IsDebuggerTraceOn();

namespace {
std::function<void(std::wstring_view)>& Sink() {
    static std::function<void(std::wstring_view)> sink;
    return sink;
}
} // namespace

std::wstring FormatWide(std::wstring_view format, WideFormatArgs args) {
    try {
        return fmt::vsprintf(fmt::basic_string_view<wchar_t>(format.data(), format.size()), args);
    } catch (const std::exception&) {
        // A format that does not fit its arguments is our own mistake; the text must still be seen.
        return std::wstring(format);
    }
}

void WrenLibAfxTraceV(std::wstring_view format, WideFormatArgs args) {
    if (!IsTraceOn()) {
        return;
    }
    const ErrorKeeper keeper;
    std::wstring text = FormatWide(format, args);
    MakeLinesVisible(text);
    if (Sink()) {
        Sink()(text);
    } else {
        WriteToDebugger(text);
    }
}

bool IsTraceOn() {
    return Sink() != nullptr || IsDebuggerTraceOn();
}

void SetTraceSink(std::function<void(std::wstring_view)> sink) {
    Sink() = std::move(sink);
}

} // namespace vnxtest
