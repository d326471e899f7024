#include "vnetx/sim/sim_fate.h"

namespace vnxtest {

namespace {

// The finaliser of the SplitMix64 generator: every bit of the argument reaches every bit of the result.
constexpr std::uint64_t Mix(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15u;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9u;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBu;
    return value ^ (value >> 31);
}

// Each impairment draws from a stream of its own, so that turning one on does not change another.
enum class Stream : std::uint64_t {
    Loss,
    Duplicate,
    Late,
    DontFragment,
    Reorder,
    Corrupt,
    Truncate,
    Foreign,
    Jitter,
    DuplicateJitter,
    Random
};

class Draws {
public:
    Draws(std::uint64_t seed, std::uint32_t order, std::uint64_t number)
        : m_base(Mix(Mix(Mix(seed) ^ order) ^ number)) {}

    std::uint64_t Bits(Stream stream) const { return Mix(m_base ^ Mix(static_cast<std::uint64_t>(stream))); }
    // 0 to below 1, in steps of 2^-53.
    double Unit(Stream stream) const { return static_cast<double>(Bits(stream) >> 11) * 0x1p-53; }
    bool Hits(Stream stream, double percent) const { return percent > 0 && Unit(stream) * 100 < percent; }

private:
    std::uint64_t m_base;
};

std::chrono::microseconds FromMilliseconds(double milliseconds) {
    return std::chrono::microseconds(static_cast<std::int64_t>(milliseconds * 1000));
}

} // namespace

SimFate DecideSimFate(const SimOptions& options, std::uint32_t interfaceOrder, std::uint64_t number) {
    const Draws draws(options.seed, interfaceOrder, number);
    SimFate fate;
    fate.lost = draws.Hits(Stream::Loss, options.loss);
    if (fate.lost) {
        return fate;
    }
    fate.duplicated = draws.Hits(Stream::Duplicate, options.dup);
    fate.late = draws.Hits(Stream::Late, options.late);
    fate.dontFragment = draws.Hits(Stream::DontFragment, options.df);
    fate.reordered = draws.Hits(Stream::Reorder, options.reorder);
    fate.corrupted = draws.Hits(Stream::Corrupt, options.corrupt);
    fate.truncated = draws.Hits(Stream::Truncate, options.truncate);
    fate.foreign = draws.Hits(Stream::Foreign, options.foreign);
    fate.random = draws.Bits(Stream::Random);
    const double base = options.delay + (fate.late ? options.lateBy : 0);
    fate.delay = FromMilliseconds(base + options.jitter * draws.Unit(Stream::Jitter));
    fate.duplicateDelay = FromMilliseconds(base + options.jitter * draws.Unit(Stream::DuplicateJitter));
    return fate;
}

} // namespace vnxtest
