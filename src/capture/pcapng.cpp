#include "capture/pcapng.h"

#include <cstring>

namespace vnxtest::pcapng {

namespace {

enum class BlockType : std::uint32_t {
    Interface = 1,
    Statistics = 5,
    Packet = 6,
    Section = 0x0A0D0D0A,
};

enum Option : std::uint16_t {
    kEnd = 0,
    kComment = 1,
    kSectionSystem = 3,
    kSectionApplication = 4,
    kInterfaceName = 2,
    kInterfaceDescription = 3,
    kInterfaceMac = 6,
    kInterfaceSpeed = 8,
    kInterfaceTimeResolution = 9,
    kPacketFlags = 2,
    kPacketDropCount = 4,
    kStatisticsStart = 2,
    kStatisticsEnd = 3,
    kStatisticsReceived = 4,
    kStatisticsDropped = 5,
    kStatisticsDroppedBySystem = 7,
    kStatisticsDelivered = 8,
};

constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint8_t kNanoseconds = 9; // 10 to the power of -9
constexpr std::size_t kLengthOffset = 4; // of a block's length, after its type
constexpr std::size_t kLongestOption = 0xFFFF;

template <typename Number>
void Append(Bytes& bytes, Number number) {
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof number);
    std::memcpy(bytes.data() + at, &number, sizeof number);
}

void AppendPadded(Bytes& bytes, std::span<const std::uint8_t> content) {
    const std::size_t padded = (content.size() + 3) & ~std::size_t{3};
    const std::size_t at = bytes.size();
    bytes.resize(at + padded); // the padding is zero
    if (!content.empty()) {
        std::memcpy(bytes.data() + at, content.data(), content.size());
    }
}

void AppendOption(Bytes& bytes, Option code, std::span<const std::uint8_t> value) {
    Append<std::uint16_t>(bytes, code);
    Append(bytes, static_cast<std::uint16_t>(value.size()));
    AppendPadded(bytes, value);
}

void AppendText(Bytes& bytes, Option code, std::string_view text) {
    text = text.substr(0, kLongestOption);
    if (!text.empty()) {
        AppendOption(bytes, code, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
}

template <typename Number>
void AppendNumber(Bytes& bytes, Option code, Number number) {
    std::uint8_t value[sizeof number];
    std::memcpy(value, &number, sizeof number);
    AppendOption(bytes, code, value);
}

// Two 32-bit numbers, the high one first.
void AppendTime(Bytes& bytes, std::uint64_t time) {
    Append(bytes, static_cast<std::uint32_t>(time >> 32));
    Append(bytes, static_cast<std::uint32_t>(time));
}

void AppendTimeOption(Bytes& bytes, Option code, std::uint64_t time) {
    Append<std::uint16_t>(bytes, code);
    Append<std::uint16_t>(bytes, sizeof time);
    AppendTime(bytes, time);
}

// Begins and, with its destructor, ends a block: the end of the options and both lengths.
class Block {
public:
    Block(Bytes& bytes, BlockType type) : m_bytes(bytes), m_start(bytes.size()) {
        Append(bytes, static_cast<std::uint32_t>(type));
        Append<std::uint32_t>(bytes, 0);
    }
    ~Block() {
        Append<std::uint16_t>(m_bytes, kEnd);
        Append<std::uint16_t>(m_bytes, 0);
        const auto length = static_cast<std::uint32_t>(m_bytes.size() + sizeof(std::uint32_t) - m_start);
        Append(m_bytes, length);
        std::memcpy(m_bytes.data() + m_start + kLengthOffset, &length, sizeof length);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

private:
    Bytes& m_bytes;
    const std::size_t m_start;
};

} // namespace

void AppendSection(Bytes& bytes, std::string_view system, std::string_view application) {
    constexpr std::uint64_t kUnknownLength = ~std::uint64_t{0};
    const Block block(bytes, BlockType::Section);
    Append(bytes, kByteOrderMagic);
    Append<std::uint16_t>(bytes, 1); // version 1.0
    Append<std::uint16_t>(bytes, 0);
    Append(bytes, kUnknownLength);
    AppendText(bytes, kSectionSystem, system);
    AppendText(bytes, kSectionApplication, application);
}

void AppendInterface(Bytes& bytes, const Interface& interface) {
    const Block block(bytes, BlockType::Interface);
    Append(bytes, static_cast<std::uint16_t>(interface.link));
    Append<std::uint16_t>(bytes, 0); // reserved
    Append<std::uint32_t>(bytes, 0); // no limit of a packet's length
    AppendText(bytes, kInterfaceName, interface.name);
    AppendText(bytes, kInterfaceDescription, interface.description);
    if (!interface.mac.IsZero()) {
        AppendOption(bytes, kInterfaceMac, interface.mac.Bytes());
    }
    if (interface.speed) {
        AppendNumber(bytes, kInterfaceSpeed, *interface.speed);
    }
    AppendOption(bytes, kInterfaceTimeResolution, std::span(&kNanoseconds, 1));
}

// The frequent one: a single growth of `bytes`, then plain stores.
void AppendPacket(Bytes& bytes, const Packet& packet) {
    constexpr std::size_t kHead = 28;
    constexpr std::size_t kOption = 4; // its code and length
    const auto padded = [](std::size_t size) { return (size + 3) & ~std::size_t{3}; };
    const std::string_view comment = packet.comment.substr(0, kLongestOption);
    const std::size_t size = kHead + padded(packet.bytes.size()) + kOption + sizeof(std::uint32_t) +
                             (packet.dropped != 0 ? kOption + sizeof packet.dropped : 0) +
                             (comment.empty() ? 0 : kOption + padded(comment.size())) + kOption +
                             sizeof(std::uint32_t);
    const std::size_t start = bytes.size();
    bytes.resize(start + size); // the padding is zero
    std::uint8_t* at = bytes.data() + start;
    const auto put = [&at](auto number) {
        std::memcpy(at, &number, sizeof number);
        at += sizeof number;
    };
    const auto option = [&put](Option code, std::size_t length) {
        put(static_cast<std::uint16_t>(code));
        put(static_cast<std::uint16_t>(length));
    };
    put(static_cast<std::uint32_t>(BlockType::Packet));
    put(static_cast<std::uint32_t>(size));
    put(packet.interface);
    put(static_cast<std::uint32_t>(packet.time >> 32));
    put(static_cast<std::uint32_t>(packet.time));
    put(static_cast<std::uint32_t>(packet.bytes.size()));
    put(packet.length);
    std::memcpy(at, packet.bytes.data(), packet.bytes.size());
    at += padded(packet.bytes.size());
    option(kPacketFlags, sizeof(std::uint32_t));
    put(static_cast<std::uint32_t>(packet.direction));
    if (packet.dropped != 0) {
        option(kPacketDropCount, sizeof packet.dropped);
        put(packet.dropped);
    }
    if (!comment.empty()) {
        option(kComment, comment.size());
        std::memcpy(at, comment.data(), comment.size());
        at += padded(comment.size());
    }
    option(kEnd, 0);
    put(static_cast<std::uint32_t>(size));
}

void AppendStatistics(Bytes& bytes, const Statistics& statistics) {
    const Block block(bytes, BlockType::Statistics);
    Append(bytes, statistics.interface);
    AppendTime(bytes, statistics.time);
    AppendTimeOption(bytes, kStatisticsStart, statistics.started);
    AppendTimeOption(bytes, kStatisticsEnd, statistics.ended);
    if (statistics.received) {
        AppendNumber(bytes, kStatisticsReceived, *statistics.received);
    }
    if (statistics.droppedByInterface) {
        AppendNumber(bytes, kStatisticsDropped, *statistics.droppedByInterface);
    }
    AppendNumber(bytes, kStatisticsDroppedBySystem, statistics.droppedByCapture);
    AppendNumber(bytes, kStatisticsDelivered, statistics.delivered);
}

WholeBlocks FindWholeBlocks(std::span<const std::uint8_t> blocks, std::size_t length) {
    WholeBlocks whole;
    while (whole.size + kLengthOffset + sizeof(std::uint32_t) <= blocks.size()) {
        BlockType type{};
        std::uint32_t size = 0;
        std::memcpy(&type, blocks.data() + whole.size, sizeof type);
        std::memcpy(&size, blocks.data() + whole.size + kLengthOffset, sizeof size);
        if (size == 0 || whole.size + size > length) {
            break;
        }
        whole.size += size;
        whole.packets += type == BlockType::Packet ? 1 : 0;
    }
    return whole;
}

} // namespace vnxtest::pcapng
