#include "open/slow_close.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

// More than there are threads, so that each closes several; a pipe tells when its other end was closed.
TEST(SlowClose, ClosesEveryDescriptorOnce) {
    constexpr int kPipes = 300;
    std::vector<Descriptor> ends;
    std::vector<int> others;
    for (int i = 0; i < kPipes; ++i) {
        std::array<int, 2> pair{};
        ASSERT_EQ(pipe(pair.data()), 0);
        ends.emplace_back(pair[0]);
        others.push_back(pair[1]);
    }
    slow_close::Begin(others);
    for (const Descriptor& end : ends) {
        char byte = 0;
        ASSERT_EQ(read(end.Get(), &byte, 1), 0); // waits for it
    }
    slow_close::Await();
    slow_close::Begin({});
    slow_close::Await();
}

} // namespace
} // namespace vnxtest
