#include "vnetx/driver/reading_thread.h"

#include <atomic>

namespace vnxtest::reading_thread {
namespace {

struct LastFrame {
    std::uint64_t reader = 0; // 0: this thread has read nothing yet
    Ipv4Address address;      // zero: not IPv4
    MacAddress mac;
};

thread_local LastFrame t_lastFrame;

} // namespace

std::uint64_t NewReader() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

void Begin(std::uint64_t reader) {
    t_lastFrame.reader = reader;
    t_lastFrame.address = Ipv4Address();
}

void NoteSender(Ipv4Address address, MacAddress mac) {
    if (!mac.IsZero() && !mac.IsGroup()) {
        t_lastFrame.address = address;
        t_lastFrame.mac = mac;
    }
}

bool IsOne() {
    return t_lastFrame.reader != 0;
}

std::optional<MacAddress> SenderOf(std::uint64_t reader, Ipv4Address address) {
    const LastFrame& last = t_lastFrame;
    if (last.reader != reader || address.IsZero() || last.address != address) {
        return std::nullopt;
    }
    return last.mac;
}

} // namespace vnxtest::reading_thread
