// Whether an adapter's driver offloads the segmentation of large TCP sends (LSO).
//
// LSO breaks the guest: the driver gets segments larger than the MTU, and the guest sees them as they are.
// On Windows the driver's settings are read from the registry; on Linux the same flags come from the TSO
// features that ethtool shows.
#pragma once

#include <cstdint>
#include <string_view>

namespace vnxtest {

// The bits of the flags; each "enabled" bit is its "present" bit shifted left by two.
enum LsoFlag : std::uint8_t {
    kLsoV2Ipv6Present = 1,
    kLsoV2Ipv4Present = 2,
    kLsoV2Ipv6Enabled = 4,
    kLsoV2Ipv4Enabled = 8,
    kLsoV1Ipv6Present = 16,
    kLsoV1Ipv4Present = 32,
    kLsoV1Ipv6Enabled = 64,
    kLsoV1Ipv4Enabled = 128,
};
inline constexpr std::uint8_t kLsoEnabledMask = 204; // some LSO variant is enabled

// The flags of the adapter with this AdapterName; its first four characters, the packet driver's prefix,
// are dropped. Failures are silent: 0, or the flags found until then. Linux has one kind of segmentation
// offload, reported in the V2 bits. Any thread.
std::uint8_t GetAdapterLSOFlags(std::wstring_view adapterName);

} // namespace vnxtest
