#include "vnetx/pcap/capture.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "vnetx/driver/reading_thread.h"
#include "vnetx/failure.h"

namespace vnxtest {

int Capture::Send(const void* frame, std::uint32_t length, const std::function<bool()>& isPointless) {
    if (TrySend(frame, length) == 0) {
        return 0;
    }
    // A full send queue drains; any other error is final. A reading thread does not wait for it: all its
    // frames would wait with the one answer, which is lost instead. A lost carrier may show only some
    // milliseconds after the first frame was refused, hence the repeated check.
    constexpr int kTriesBetweenLooks = 64;
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(reading_thread::IsOne() ? 0 : 100);
    for (int tries = 0; (errno == EAGAIN || errno == ENOBUFS) && Clock::now() < end; ++tries) {
        if (const int code = errno; isPointless && tries % kTriesBetweenLooks == 0 && isPointless()) {
            return Fail(code);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        if (TrySend(frame, length) == 0) {
            return 0;
        }
    }
    const int code = errno;
    if (isPointless && (code == EAGAIN || code == ENOBUFS)) {
        isPointless();
    }
    return Fail(code);
}

void CloseTogether(std::vector<std::unique_ptr<Capture>> captures) {
    std::vector<std::thread> threads;
    for (std::size_t at = 1; at < captures.size(); ++at) {
        try {
            threads.emplace_back([&one = captures[at]] { one.reset(); });
        } catch (const std::system_error&) {
            break; // no thread: the destructor of `captures` closes the rest one by one
        }
    }
    captures.front().reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace vnxtest
