// The program's own work on a frame, from the read buffer to the library's write: the checks, the answer in
// place, the line of text. The library is a null one.

#include <cstdint>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "frame_bench.h"

namespace vnxtest {

namespace {

void HandleRequests(benchmark::State& state, bool tapMode, Ipv4Address destination, bool answered) {
    FrameBench bench(tapMode);
    const auto request = EchoRequest(tapMode, static_cast<std::size_t>(state.range(0)), destination);
    std::vector<std::uint8_t> storage = request;
    for (auto _ : state) {
        std::memcpy(storage.data(), request.data(), request.size()); // as a read does
        bench.Handle(storage);
    }
    state.SetItemsProcessed(state.iterations());
    const auto expected = answered ? static_cast<std::uint64_t>(state.iterations()) : 0;
    if (bench.Written() != expected) {
        state.SkipWithError("the wrong number of answers");
    }
}

} // namespace

static void AnswerEchoTap(benchmark::State& state) {
    HandleRequests(state, true, kGuestIp, true);
}
BENCHMARK(AnswerEchoTap)->Arg(8)->Arg(56)->Arg(1472);

static void AnswerEchoTun(benchmark::State& state) {
    HandleRequests(state, false, kGuestIp, true);
}
BENCHMARK(AnswerEchoTun)->Arg(8)->Arg(56)->Arg(1472);

static void IgnoreForeignEcho(benchmark::State& state) {
    HandleRequests(state, true, Ipv4Address{10, 77, 0, 101}, false);
}
BENCHMARK(IgnoreForeignEcho)->Arg(56);

} // namespace vnxtest
