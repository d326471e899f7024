// The ICMP echo message: an 8-byte header, then the data (RFC 792).
//
// IcmpEchoView reads and writes the header in place. Identifier and sequence number are also handed out
// raw, as the two bytes stand in memory, since the ping list compares them so.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "packets/checksum.h"
#include "packets/wire.h"

namespace vnxtest {

inline constexpr std::uint8_t kIcmpEchoReply = 0;
inline constexpr std::uint8_t kIcmpEchoRequest = 8;

template <PacketByte Byte>
class BasicIcmpEchoView {
public:
    static constexpr std::size_t kLength = 8;

    constexpr explicit BasicIcmpEchoView(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    // The view over the first 8 bytes of `message`, or nullopt if it is shorter.
    static std::optional<BasicIcmpEchoView> Over(std::span<Byte> message) {
        if (message.size() < kLength) {
            return std::nullopt;
        }
        return BasicIcmpEchoView(message.template first<kLength>());
    }

    std::uint8_t Type() const { return m_bytes[0]; }
    std::uint8_t Code() const { return m_bytes[1]; }
    std::uint16_t Checksum() const { return LoadBe16<2>(m_bytes); }
    std::uint16_t Identifier() const { return LoadBe16<4>(m_bytes); }
    std::uint16_t SequenceNumber() const { return LoadBe16<6>(m_bytes); }
    std::uint16_t RawChecksum() const { return LoadRaw<2>(); }
    std::uint16_t RawIdentifier() const { return LoadRaw<4>(); }
    std::uint16_t RawSequenceNumber() const { return LoadRaw<6>(); }

    void SetType(std::uint8_t type) { m_bytes[0] = type; }
    void SetCode(std::uint8_t code) { m_bytes[1] = code; }
    void SetChecksum(std::uint16_t checksum) { StoreBe16<2>(m_bytes, checksum); }
    void SetIdentifier(std::uint16_t identifier) { StoreBe16<4>(m_bytes, identifier); }
    void SetSequenceNumber(std::uint16_t sequence) { StoreBe16<6>(m_bytes, sequence); }
    void SetRawIdentifier(std::uint16_t identifier) { StoreRaw<4>(identifier); }
    void SetRawSequenceNumber(std::uint16_t sequence) { StoreRaw<6>(sequence); }

private:
    template <std::size_t Offset>
    std::uint16_t LoadRaw() const {
        std::uint16_t value = 0;
        std::memcpy(&value, m_bytes.data() + Offset, sizeof value);
        return value;
    }
    template <std::size_t Offset>
    void StoreRaw(std::uint16_t value) {
        std::memcpy(m_bytes.data() + Offset, &value, sizeof value);
    }

    std::span<Byte, kLength> m_bytes;
};

using IcmpEchoView = BasicIcmpEchoView<std::uint8_t>;
using ConstIcmpEchoView = BasicIcmpEchoView<const std::uint8_t>; // reads only

// Sets the checksum that is right for the rest of `message`, which must be at least a header long.
inline void SealIcmp(std::span<std::uint8_t> message) {
    auto view = IcmpEchoView::Over(message);
    view->SetChecksum(0);
    view->SetChecksum(InetChecksum(message));
}

// A 16-bit number between host and network order (the same exchange both ways).
constexpr std::uint16_t SwapNetwork16(std::uint16_t value) {
    if constexpr (std::endian::native == std::endian::little) {
        return static_cast<std::uint16_t>(value << 8 | value >> 8);
    } else {
        return value;
    }
}

} // namespace vnxtest
