// The Internet checksum: a header, a small ping, a full frame, the largest packet.

#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "packets/checksum.h"

namespace vnxtest {

static void Checksum(benchmark::State& state) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(bytes.data());
        benchmark::DoNotOptimize(InetChecksum(bytes));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(Checksum)->Arg(20)->Arg(40)->Arg(64)->Arg(1480)->Arg(65515);

} // namespace vnxtest
