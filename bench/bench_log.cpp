// One line through LogMsg to the queue, and the queue's way out.

#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "core/debug_output.h"
#include "core/output_channel.h"
#include "null_library.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

class SilentView final : public ViewPort {
public:
    void PostViewMessage(ViewMessage) override {}
};

// An attached output channel whose lines are taken away every 4096.
class Output {
public:
    Output() : m_channel(m_view) {
        m_channel.Attach();
        RegisterDebugOutput(m_library);
    }
    ~Output() { UnregisterDebugOutput(); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void LineWritten() {
        if (++m_lines % 4096 == 0) {
            m_bytes += m_channel.TakePending().size();
        }
    }
    std::uint64_t Bytes() { return m_bytes + m_channel.TakePending().size(); }

private:
    SilentView m_view;
    NullLibrary m_library;
    OutputChannel m_channel;
    std::uint64_t m_lines = 0;
    std::uint64_t m_bytes = 0;
};

} // namespace

static void SendingLine(benchmark::State& state) {
    Output output;
    const std::wstring target = L"192.168.100.200";
    std::uint16_t number = 0;
    for (auto _ : state) {
        LogMsg(L" Sending ping #%hu bytes=%d to %s...\n", ++number, 32, target);
        output.LineWritten();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(output.Bytes()));
}
BENCHMARK(SendingLine);

static void ReplyLine(benchmark::State& state) {
    Output output;
    const std::wstring address = L"192.168.100.200";
    std::uint16_t number = 0;
    for (auto _ : state) {
        LogMsg(L" Reply%s to ping #%hu received from %s: bytes=%d time=%sms TTL=%u%s\n", std::wstring(),
               ++number, address, 32, std::wstring(L"<1"), 64u, std::wstring());
        output.LineWritten();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(output.Bytes()));
}
BENCHMARK(ReplyLine);

} // namespace vnxtest
