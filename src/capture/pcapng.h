// The blocks of a pcapng file (IETF draft-ietf-opsawg-pcapng), as bytes. All of them are made here.
//
// Numbers stand in this machine's byte order, which the first block tells. Each function appends one whole
// block; what it appends is a multiple of 4 bytes. Times are nanoseconds since 1970 (UTC). Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest::pcapng {

using Bytes = std::vector<std::uint8_t>;

// As registered for pcap files.
enum class LinkType : std::uint16_t { Ethernet = 1, RawIp = 101 };

enum class Direction : std::uint8_t { Inbound = 1, Outbound = 2 };

// A virtual interface. Texts are UTF-8; what is empty, zero or nullopt is left out.
struct Interface {
    LinkType link = LinkType::Ethernet;
    std::string name;
    std::string description;
    MacAddress mac{};
    std::optional<std::uint64_t> speed; // bits per second
};

struct Packet {
    std::uint32_t interface = 0; // the number of its block, from 0
    std::uint64_t time = 0;
    std::uint32_t length = 0; // on the wire; `bytes` may be less
    std::span<const std::uint8_t> bytes;
    Direction direction = Direction::Inbound;
    std::uint64_t dropped = 0; // of this interface since its packet before
    std::string_view comment;
};

struct Statistics {
    std::uint32_t interface = 0;
    std::uint64_t time = 0;
    std::uint64_t started = 0;
    std::uint64_t ended = 0;
    std::optional<std::uint64_t> received; // by the interface
    std::optional<std::uint64_t> droppedByInterface;
    std::uint64_t droppedByCapture = 0;
    std::uint64_t delivered = 0; // the packets of the file
};

// `system` and `application` say who wrote the file.
void AppendSection(Bytes& bytes, std::string_view system, std::string_view application);
void AppendInterface(Bytes& bytes, const Interface& interface);
void AppendPacket(Bytes& bytes, const Packet& packet);
void AppendStatistics(Bytes& bytes, const Statistics& statistics);

// The whole blocks among the first `length` bytes of `blocks`.
struct WholeBlocks {
    std::size_t size = 0; // bytes
    std::size_t packets = 0;
};
WholeBlocks FindWholeBlocks(std::span<const std::uint8_t> blocks, std::size_t length);

} // namespace vnxtest::pcapng
