#include "vnetx/frame_arrival.h"

namespace vnxtest::frame_arrival {
namespace {
thread_local std::int64_t t_unixNs = 0;
} // namespace

void Note(std::int64_t unixNs) {
    t_unixNs = unixNs;
}

std::int64_t OfLastFrame() {
    return t_unixNs;
}

} // namespace vnxtest::frame_arrival
