// Frames of one transfer, in the library's I/O buffer. For one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vnxtest {

class FrameBatch {
public:
    struct Frame {
        const std::uint8_t* bytes;
        std::uint32_t captured;
        std::uint32_t length;       // on the wire
        std::int64_t arrivedUnixNs; // 0: not known
    };

    // Room for `bufferSize` bytes, but at least for one frame of `largestFrame` bytes.
    void Resize(std::uint32_t bufferSize, std::uint32_t largestFrame);
    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_buffer.size()); }
    // How many frames of the largest size have room.
    int Capacity() const { return m_capacity; }

    bool IsEmpty() const { return m_first == m_end; }
    void Clear() { m_first = m_end = m_frameBytes = 0; }
    void Append(const Frame& frame);
    Frame TakeFirst();
    // The bytes of the frames appended since Clear().
    std::uint32_t FrameBytes() const { return static_cast<std::uint32_t>(m_frameBytes); }

private:
    std::vector<std::uint8_t> m_buffer;
    int m_capacity = 1;
    std::size_t m_first = 0, m_end = 0, m_frameBytes = 0;
};

} // namespace vnxtest
