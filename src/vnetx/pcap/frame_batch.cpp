#include "vnetx/pcap/frame_batch.h"

#include <algorithm>
#include <cstring>

namespace vnxtest {
namespace {

struct FrameMark {
    std::uint32_t captured;
    std::uint32_t length;
    std::int64_t arrivedUnixNs;
};

constexpr std::size_t RoomFor(std::size_t captured) {
    return (sizeof(FrameMark) + captured + 7) & ~static_cast<std::size_t>(7);
}

} // namespace

void FrameBatch::Resize(std::uint32_t bufferSize, std::uint32_t largestFrame) {
    m_buffer.resize(std::max<std::size_t>(bufferSize, RoomFor(largestFrame)));
    m_capacity = static_cast<int>(m_buffer.size() / RoomFor(largestFrame));
    Clear();
}

void FrameBatch::Append(const Frame& frame) {
    std::uint32_t captured = frame.captured;
    if (m_buffer.size() - m_end < RoomFor(captured)) {
        captured = 0; // longer than the largest frame asked for: counted, but not kept
    }
    const FrameMark mark{captured, frame.length, frame.arrivedUnixNs};
    std::memcpy(m_buffer.data() + m_end, &mark, sizeof mark);
    std::memcpy(m_buffer.data() + m_end + sizeof mark, frame.bytes, captured);
    m_end += RoomFor(captured);
    m_frameBytes += captured;
}

FrameBatch::Frame FrameBatch::TakeFirst() {
    FrameMark mark{};
    std::memcpy(&mark, m_buffer.data() + m_first, sizeof mark);
    const Frame frame{m_buffer.data() + m_first + sizeof mark, mark.captured, mark.length,
                      mark.arrivedUnixNs};
    m_first += RoomFor(mark.captured);
    return frame;
}

} // namespace vnxtest
