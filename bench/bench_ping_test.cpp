// A whole ping test in the engine, with 64 and with 65,535 pings outstanding: the cost of a ping, from its
// request to its reply's line, must not depend on how many are outstanding.
//
// The library holds the requests back until the wanted number is outstanding, or all are sent; then they
// are answered. The figure is the processor time of all threads: a sender that waits for the receiving side
// costs nothing. Its pace has room for all pings: waiting for a ring that is full has wake-ups to pay for.

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <mutex>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/debug_output.h"
#include "core/output_channel.h"
#include "null_library.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "ping/ping_test.h"
#include "ping/receive_path.h"

namespace vnxtest {

namespace {

constexpr std::uint32_t kPings = 65535;
constexpr Ipv4Address kGuestIp{10, 77, 0, 100};
constexpr Ipv4Address kPeerIp{10, 77, 0, 2};

using Packet = std::vector<std::uint8_t>;

// Keeps what is written.
class HoldingLibrary final : public NullLibrary {
public:
    std::int32_t Write(std::int32_t, const void* packet, std::uint32_t length) override {
        const auto* const bytes = static_cast<const std::uint8_t*>(packet);
        const std::lock_guard lock(m_mutex);
        if (m_held.size() + 1 == m_wanted) {
            m_enough.notify_one();
        }
        m_held.emplace_back(ReceivedPacket::kHeadroom + length);
        std::copy_n(bytes, length, m_held.back().begin() + ReceivedPacket::kHeadroom);
        return static_cast<std::int32_t>(length);
    }
    // What was written since the last time, once it is `wanted` or more.
    std::vector<Packet> Take(std::size_t wanted) {
        std::unique_lock lock(m_mutex);
        m_wanted = wanted;
        m_enough.wait(lock, [&] { return m_held.size() >= wanted; });
        return std::exchange(m_held, {});
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_enough;
    std::size_t m_wanted = 0;
    std::vector<Packet> m_held;
};

class SilentView final : public ViewPort {
public:
    void PostViewMessage(ViewMessage) override {}
};

// Makes a request, as it was written behind its headroom, the reply to it.
void MakeReply(std::span<std::uint8_t> storage) {
    const auto packet = storage.subspan(ReceivedPacket::kHeadroom);
    auto ip = Ipv4View::Over(packet);
    const auto message = packet.subspan(Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    ip->Emit({.totalLength = static_cast<std::uint16_t>(packet.size()),
              .dontFragment = false,
              .source = kPeerIp,
              .destination = kGuestIp});
    ip->Seal();
    icmp->SetType(kIcmpEchoReply);
    SealIcmp(message);
}

double Seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace

static void PingTestWithOutstanding(benchmark::State& state) {
    SilentView view;
    HoldingLibrary library;
    OutputChannel output(view);
    RunSettings run;
    run.driverBufferSize = 1024 * 1024 * 1024;
    PacketWriter writer(library, [](Ipv4Address) { return Ipv4Address(); });
    PingTest test(library, writer, run, view);
    ReceivePath path(library, writer, run, test);
    output.Attach();
    RegisterDebugOutput(library);
    INTERFACE_INFO info;
    info.open.Open(library, "10.77.0.1", VNETX_OPEN_READ_WRITE);
    info.open.SetName(L"bench0");
    info.open.Publish();
    info.addresses.guestIp = kGuestIp;
    PingPlan plan;
    plan.target = kPeerIp;
    plan.dataSize = 8;
    plan.numPings = kPings;
    plan.timeout = 60000;
    plan.delay = 0;
    const auto outstanding = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        // Of this thread's time only the handling counts, not making replies and polling for requests.
        double handling = 0;
        const double begin = Seconds(CLOCK_PROCESS_CPUTIME_ID) - Seconds(CLOCK_THREAD_CPUTIME_ID);
        test.Start(info, plan);
        std::size_t answered = 0;
        while (answered < kPings) {
            std::vector<Packet> held = library.Take(std::min(outstanding, kPings - answered));
            for (Packet& packet : held) {
                MakeReply(packet);
            }
            const double before = Seconds(CLOCK_THREAD_CPUTIME_ID);
            for (Packet& packet : held) {
                path.HandleReceivedPacket(info, ReceivedPacket(packet));
            }
            benchmark::DoNotOptimize(output.TakePending());
            handling += Seconds(CLOCK_THREAD_CPUTIME_ID) - before;
            answered += held.size();
        }
        state.SetIterationTime(Seconds(CLOCK_PROCESS_CPUTIME_ID) - Seconds(CLOCK_THREAD_CPUTIME_ID) - begin +
                               handling);
        test.StopPingTest(); // without the grace
        if (test.Result().statistics.received != kPings) {
            state.SkipWithError("a ping was lost");
        }
        output.TakePending();
    }
    state.SetItemsProcessed(state.iterations() * kPings);
    output.Detach();
    UnregisterDebugOutput();
}
BENCHMARK(PingTestWithOutstanding)->Arg(64)->Arg(65535)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace vnxtest
