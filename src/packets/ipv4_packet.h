// The IPv4 header without options (RFC 791).
//
// Ipv4View reads and writes the 20 bytes in place. It does not check the header's length field: the code
// that accepts a packet does. Ipv4Header is a value to be emitted.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "packets/checksum.h"
#include "packets/wire.h"

namespace vnxtest {

inline constexpr std::uint8_t kIpProtocolIcmp = 1;

struct Ipv4Header {
    std::uint8_t typeOfService = 0;
    std::uint16_t totalLength = 0; // bytes, of header and data
    std::uint16_t identification = 0;
    bool dontFragment = true;
    std::uint8_t timeToLive = 64;
    std::uint8_t protocol = kIpProtocolIcmp;
    Ipv4Address source;
    Ipv4Address destination;
};

template <PacketByte Byte>
class BasicIpv4View {
public:
    static constexpr std::size_t kLength = 20;

    constexpr explicit BasicIpv4View(std::span<Byte, kLength> bytes) : m_bytes(bytes) {}
    // The view over the first 20 bytes of `packet`, or nullopt if it is shorter.
    static std::optional<BasicIpv4View> Over(std::span<Byte> packet) {
        if (packet.size() < kLength) {
            return std::nullopt;
        }
        return BasicIpv4View(packet.template first<kLength>());
    }

    unsigned Version() const { return m_bytes[0] >> 4; }
    // In words of four bytes.
    unsigned HeaderLength() const { return m_bytes[0] & 0x0F; }
    std::uint8_t TypeOfService() const { return m_bytes[1]; }
    std::uint16_t TotalLength() const { return LoadBe16<2>(m_bytes); }
    std::uint8_t TimeToLive() const { return m_bytes[8]; }
    std::uint8_t Protocol() const { return m_bytes[9]; }
    std::uint16_t Checksum() const { return LoadBe16<10>(m_bytes); }
    Ipv4Address Source() const { return LoadIpv4<12>(m_bytes); }
    Ipv4Address Destination() const { return LoadIpv4<16>(m_bytes); }

    // The flags byte and the low six bits of the byte behind it: what the guest takes for the mark of a
    // fragment. Don't-Fragment counts, as does More-Fragments; the two highest bits of the second byte do
    // not.
    bool LooksFragmented() const { return m_bytes[6] != 0 || (m_bytes[7] & 0x3F) != 0; }

    // The fragment offset is not 0: what follows the header is not the beginning of a message.
    bool IsLaterFragment() const { return (m_bytes[6] & 0x1F) != 0 || m_bytes[7] != 0; }

    // More-Fragments is set or the fragment offset is not 0: it is not a whole packet (RFC 791).
    bool IsFragment() const { return (LoadBe16<6>(m_bytes) & 0x3FFF) != 0; }
    // Of a header without options.
    bool HasRightChecksum() const { return InetChecksum(m_bytes) == 0; }

    // Version 4, five words; the checksum is 0.
    void Emit(const Ipv4Header& header) {
        m_bytes[0] = 0x45;
        m_bytes[1] = header.typeOfService;
        SetTotalLength(header.totalLength);
        StoreBe16<4>(m_bytes, header.identification);
        StoreBe16<6>(m_bytes, header.dontFragment ? 0x4000 : 0);
        SetTimeToLive(header.timeToLive);
        m_bytes[9] = header.protocol;
        SetChecksum(0);
        SetSource(header.source);
        SetDestination(header.destination);
    }
    // Sets the checksum that is right for the rest of the header.
    void Seal() {
        SetChecksum(0);
        SetChecksum(InetChecksum(m_bytes));
    }

    void SetTotalLength(std::uint16_t length) { StoreBe16<2>(m_bytes, length); }
    void SetTimeToLive(std::uint8_t timeToLive) { m_bytes[8] = timeToLive; }
    void SetChecksum(std::uint16_t checksum) { StoreBe16<10>(m_bytes, checksum); }
    void SetSource(Ipv4Address address) { StoreIpv4<12>(m_bytes, address); }
    void SetDestination(Ipv4Address address) { StoreIpv4<16>(m_bytes, address); }

    std::span<Byte, kLength> Bytes() const { return m_bytes; }

private:
    std::span<Byte, kLength> m_bytes;
};

using Ipv4View = BasicIpv4View<std::uint8_t>;
using ConstIpv4View = BasicIpv4View<const std::uint8_t>; // reads only

// True if `packet` begins with version 4, however short it is.
inline bool IsIpv4(std::span<const std::uint8_t> packet) {
    return !packet.empty() && packet[0] >> 4 == 4;
}

} // namespace vnxtest
