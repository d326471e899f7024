// The ping list with 64 and with 65,535 outstanding pings: the cost of one event must not depend on how
// many are outstanding.

#include <chrono>
#include <cstdint>

#include <benchmark/benchmark.h>

#include "packets/icmp_echo.h"
#include "ping/ping_list.h"

namespace vnxtest {

namespace {

constexpr std::uint16_t kIdentifier = 0x1234;

CPing Ping(std::uint32_t number) {
    CPing ping;
    ping.wIcmpId = kIdentifier;
    ping.wIcmpSeq = SwapNetwork16(static_cast<std::uint16_t>(number));
    ping.dwSentTick = number;
    ping.dwDeadlineTick = number + 500;
    return ping;
}

CPingList Outstanding(std::uint32_t count) {
    CPingList list;
    for (std::uint32_t number = 0; number < count; ++number) {
        list.AddTail(Ping(number));
    }
    return list;
}

// Runs `work` over a fresh list of range(0) outstanding pings; one item is one ping.
template <typename Work>
void ForEachPing(benchmark::State& state, Work work) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    for (auto _ : state) {
        CPingList list = Outstanding(count);
        const auto started = std::chrono::steady_clock::now();
        work(list, count);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;
        state.SetIterationTime(taken.count());
        if (list.FirstUndecided()) {
            state.SkipWithError("a ping was left undecided");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

static void Add(benchmark::State& state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Outstanding(count).GetCount());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Add)->Arg(64)->Arg(65535);

// A reply: found, marked, and the next deadline looked for.
static void Reply(benchmark::State& state) {
    ForEachPing(state, [](CPingList& list, std::uint32_t count) {
        for (std::uint32_t number = 0; number < count; ++number) {
            const auto position = list.Find(kIdentifier, SwapNetwork16(static_cast<std::uint16_t>(number)));
            CPing ping = list.GetAt(*position);
            ++ping.nReplies;
            list.SetAt(*position, ping);
            benchmark::DoNotOptimize(list.FirstUndecided());
        }
    });
}
BENCHMARK(Reply)->Arg(64)->Arg(65535)->UseManualTime();

// Replies in the worst order: the first ping is answered last, so that every look for the next
// deadline begins at it.
static void ReplyBackwards(benchmark::State& state) {
    ForEachPing(state, [](CPingList& list, std::uint32_t count) {
        for (std::uint32_t number = count; number-- > 0;) {
            const auto position = list.Find(kIdentifier, SwapNetwork16(static_cast<std::uint16_t>(number)));
            CPing ping = list.GetAt(*position);
            ++ping.nReplies;
            list.SetAt(*position, ping);
            benchmark::DoNotOptimize(list.FirstUndecided());
        }
    });
}
BENCHMARK(ReplyBackwards)->Arg(64)->Arg(65535)->UseManualTime();

// The time-out pass: every ping is past its deadline.
static void TimeOut(benchmark::State& state) {
    ForEachPing(state, [](CPingList& list, std::uint32_t) {
        while (const auto position = list.FirstUndecided()) {
            CPing ping = list.GetAt(*position);
            ping.nTimeouts = 1;
            list.SetAt(*position, ping);
        }
    });
}
BENCHMARK(TimeOut)->Arg(64)->Arg(65535)->UseManualTime();

} // namespace vnxtest
