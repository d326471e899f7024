// A host adapter as plain values, the same whichever library lists the adapters.
//
// Nullopt means that the system does not tell. Two adapters are the same if all of their values are equal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "wrenlib/address.h"

namespace vnxtest {

// The NDIS media that the program's own lists name.
inline constexpr std::uint32_t kNdisMedium802_3 = 0;
inline constexpr std::uint32_t kNdisMediumNative802_11 = 16; // a wireless adapter

// The part of the largest packet beyond the MTU.
inline constexpr std::uint32_t kEthernetHeader = 14;

// The bits of the checksum flags.
enum ChecksumBit : std::uint32_t { kChecksumTcp = 4, kChecksumUdp = 8, kChecksumIp = 16 };

// The checksums that the adapter computes, as ChecksumBit flags.
struct ChecksumOffload {
    std::uint32_t v4Transmit = 0;
    std::uint32_t v4Receive = 0;
    std::uint32_t v6Transmit = 0;
    std::uint32_t v6Receive = 0;

    bool operator==(const ChecksumOffload&) const = default;
};

struct HostAdapter {
    std::wstring driverName; // the packet driver's: DriverNameOf(identifier)
    std::wstring connection; // its name for the user; may have blanks around it, as the next
    std::wstring description;
    std::uint32_t index = 0; // the system's number of the interface
    MacAddress mac;
    Ipv4Address address; // 0.0.0.0: it has none; the same below
    Ipv4Address mask;
    Ipv4Address gateway;
    std::uint32_t medium = kNdisMedium802_3;
    std::optional<std::uint64_t> linkSpeed; // bits per second
    bool mediaConnected = false;
    std::uint32_t largestPacket = 0; // bytes
    std::optional<bool> promiscuous; // it supports promiscuous mode
    std::optional<bool> dhcp;        // its address comes from a DHCP server
    std::wstring portOf;             // the bridge or bond that takes its incoming frames; empty: none
    std::optional<ChecksumOffload> checksumOffload; // nullopt: it offloads none
    bool checksumOffloadOverridden = false;

    bool operator==(const HostAdapter&) const = default;
};

// The packet driver's name of an adapter is a prefix of four characters, then the system's identifier of the
// adapter: the name of the interface, on Windows the NetCfgInstanceId.
std::wstring DriverNameOf(std::wstring_view identifier);
// Empty if there is only a prefix.
std::wstring_view IdentifierOf(std::wstring_view driverName);

} // namespace vnxtest
