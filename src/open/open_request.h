// The request to the helper `vnxtest-open` and its answer: one record each way over a SOCK_SEQPACKET pair,
// whose end is descriptor 3 of the helper; with the answer comes the descriptor.
#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

namespace vnxtest {

inline constexpr int kHelperSocket = 3;
inline constexpr std::uint32_t kOpenMagic = 0x564E584F;
inline constexpr std::uint16_t kOpenVersion = 1;
inline constexpr std::uint32_t kLongestQueue = 500'000; // of a device; the kernel makes hardly more

// The sockets are packet sockets: for frames to the guest's MAC, to groups and to the all-zeroes address,
// which are counted; for ARP replies (RFC 826); for RARP replies (RFC 903).
enum class OpenKind : std::uint8_t { GuestSocket = 1, ArpSocket, ReverseArpSocket, TunDevice, TapDevice };

using AdapterName = std::array<char, 16>; // IFNAMSIZ; with zeroes behind it, at least one

struct OpenRequest {
    std::uint32_t magic = kOpenMagic;
    std::uint16_t version = kOpenVersion;
    OpenKind kind{};
    std::uint8_t reserved = 0;
    AdapterName adapter{};
    std::array<std::uint8_t, 6> guestMac{}; // if HasMac()
    std::array<std::uint8_t, 2> alsoReserved{};
    std::array<std::uint8_t, 4> guestIp{}; // unless IsQuestion()
    std::array<std::uint8_t, 4> hostEnd{}; // of a device: an address of the adapter
    std::uint32_t mtu = 0;                 // of a device
    std::uint32_t queueLength = 0;         // of a device: frames that the kernel keeps for the guest
    AdapterName device{};                  // of a device: "vnxtun" and a number

    bool IsDevice() const { return kind == OpenKind::TunDevice || kind == OpenKind::TapDevice; }
    bool IsQuestion() const { return kind == OpenKind::ArpSocket || kind == OpenKind::ReverseArpSocket; }
    bool HasMac() const { return kind == OpenKind::GuestSocket || kind == OpenKind::TapDevice; }
    bool operator==(const OpenRequest&) const = default;
};
static_assert(sizeof(OpenRequest) == 64 && std::has_unique_object_representations_v<OpenRequest>);

// Why a request was refused.
enum class Refusal : std::uint8_t {
    None,
    BadRequest,
    MacUnusable,
    MacOfHost,
    IpUnusable,
    IpOfHost,
    IpOfGateway,
    IpOutsideSubnet,
    NotTheAdaptersAddress
};

struct OpenAnswer {
    std::uint32_t magic = kOpenMagic;
    std::uint16_t version = kOpenVersion;
    Refusal refusal = Refusal::None;
    std::uint8_t reserved = 0;
    std::int32_t error = 0;      // 0: the descriptor comes with it; else an errno value
    std::array<char, 20> call{}; // the system call that failed
};
static_assert(sizeof(OpenAnswer) == 32 && std::has_unique_object_representations_v<OpenAnswer>);

} // namespace vnxtest
