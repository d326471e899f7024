#include "wrenlib/trace.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "wrenlib/debugger.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

std::mutex g_sinkLock; // guards the next one
std::function<void(std::wstring_view)> g_sink;
std::atomic<bool> g_hasSink{false};

bool GiveToSink(std::wstring_view text) {
    const std::lock_guard lock(g_sinkLock);
    if (g_sink) {
        g_sink(text);
    }
    return g_sink != nullptr;
}

} // namespace

void WrenLibAfxTraceV(std::wstring_view format, WideFormatArgs args) {
    if (!IsTraceOn()) {
        return;
    }
    const ErrorKeeper keeper;
    std::wstring text = FormatWide(format, args);
    MakeLinesVisible(text);
    if (!g_hasSink || !GiveToSink(text)) {
        WriteToDebugger(text);
    }
}

bool IsTraceOn() {
    return g_hasSink || IsDebuggerTraceOn();
}

void SetTraceSink(std::function<void(std::wstring_view)> sink) {
    const std::lock_guard lock(g_sinkLock);
    g_hasSink = sink != nullptr;
    g_sink = std::move(sink);
}

} // namespace vnxtest
