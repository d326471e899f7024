// One virtual interface of the simulated guest: its settings, its state and its counters.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "packets/reply_scope.h"
#include "vnetx/vnetx.h"
#include "wrenlib/address.h"

namespace vnxtest {

// Why a received packet was ignored. Users know the numbers.
enum class IgnoreReason : std::uint32_t {
    UnknownPacket = 0,
    TooTiny = 1,
    Fragmented = 2,
    BadIpVersion = 3,
    BadIpHeaderLength = 4,
    NotIcmp = 5,
    NotPing = 6,
    BadIcmpCode = 7,
    BadIpChecksum = 8,
    BadIcmpChecksum = 9,
    NotReplyForUs = 10,
    NotPingForUs = 11,
};
inline constexpr std::size_t kIgnoreReasons = 12;

// The counters of a running interface. Only the monitor thread writes; any thread may read.
struct PacketCounters {
    std::array<std::atomic<std::uint64_t>, kIgnoreReasons> ignored{};
    std::atomic<std::uint64_t> echoRequestsAnswered{0};
    std::atomic<std::uint64_t> arpRequestsAnswered{0};
    std::atomic<std::uint64_t> rarpRequestsAnswered{0};
    void Clear();
};

// INTERFACE_INFO: a guest owns two, interface 1 and interface 2. The user-interface thread sets the text
// fields while the guest is stopped; they survive from start to start, and the binary fields follow them
// before each start. While the interface runs only its monitor thread changes it, and publishes the handle
// after everything else; the adapter's addresses may also be refreshed by a thread that writes a packet
// (under addressLock).
struct INTERFACE_INFO {
    std::atomic<std::int32_t> handle{-1};
    std::wstring name; // given by the library; written under addressLock
    bool tapMode = false;
    std::wstring guestIpText;
    std::wstring broadcastText;
    std::wstring guestMacText;
    std::wstring adapterIpText;
    std::wstring adapterMacText;
    Ipv4Address guestIp;
    Ipv4Address broadcastIp;
    MacAddress guestMac;
    Ipv4Address adapterIp;
    MacAddress adapterMac;
    Ipv4Address netMask;
    bool inAdapterSubnet = false;

    // Guards name and the four fields above while the interface runs.
    std::mutex addressLock;
    std::atomic<bool> addressesKnown{false}; // both adapter addresses are set and final

    PacketCounters counters;
    VnetxStatistics statistics{}; // of the last run, once its monitor thread has ended
    bool statisticsValid = false;
    // Likewise: frames that the library's driver dropped unread; nullopt if the library does not tell.
    std::optional<std::uint64_t> droppedByDriver;

    // Back to the empty state: TUN mode, no texts, no addresses. Not for an open interface.
    void Reset();
    // The library's name of the interface. Any thread.
    std::wstring NameCopy();
    // Monitor thread. Publishes the handle, with everything set up before it; withdraws it before it is
    // closed.
    void PublishHandle(std::int32_t opened);
    void WithdrawHandle();
    // Calls `wake` with the handle if there is one; it stays open meanwhile. A monitor thread that
    // publishes its handle later sees what the caller did before, such as setting the stop event. Any
    // thread.
    void WithHandle(const std::function<void(std::int32_t)>& wake);
    // True if the interface names a host adapter (interface 2 is in use only then).
    bool NamesAdapter() const { return !adapterIpText.empty() || !adapterMacText.empty(); }

private:
    std::mutex
        m_handleLock; // publishing and withdrawing the handle; no function of the library is called under it
};

// The addresses that the guest of the interface may answer. Monitor thread.
ReplyScope ReplyScopeOf(INTERFACE_INFO& info);

} // namespace vnxtest
