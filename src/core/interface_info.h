// One virtual interface of the simulated guest, as it was asked for and as it is.
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

// Why a received packet was ignored. The numbers are the ones users quote.
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

// What is counted while an interface runs. The monitor thread alone writes; any thread may read.
struct PacketCounters {
    std::array<std::atomic<std::uint64_t>, kIgnoreReasons> ignored{};
    std::atomic<std::uint64_t> echoRequestsAnswered{0};
    std::atomic<std::uint64_t> arpRequestsAnswered{0};
    std::atomic<std::uint64_t> rarpRequestsAnswered{0};
    void Clear();
};

// INTERFACE_INFO: two process-wide records exist, interface 1 and interface 2 (owned by the guest).
// The text fields are set by the user-interface thread while the guest is stopped and survive from
// start to start; the binary fields follow them before each start. While the interface runs, its
// monitor thread alone changes it, and publishes the handle when everything else is in place; only
// the adapter's addresses may be refreshed by whoever writes a packet (under addressLock).
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
    std::atomic<bool> addressesKnown{false}; // both adapter addresses are there: they change no more

    PacketCounters counters;
    VnetxStatistics statistics{}; // of the last run, once its monitor thread has ended
    bool statisticsValid = false;
    // Likewise: frames that the library's driver dropped unread, where the library tells.
    std::optional<std::uint64_t> droppedByDriver;

    // Back to the empty state: TUN mode, no texts, no addresses. Not for an open interface.
    void Reset();
    // The library's name of the interface. Any thread.
    std::wstring NameCopy();
    // The monitor thread's: from now on the interface can be used by its handle, which comes after all that
    // was set up before; and no more, before it is closed.
    void PublishHandle(std::int32_t opened);
    void WithdrawHandle();
    // Calls `wake` with the handle when there is one, which stays open meanwhile. What the caller did before
    // is seen by a monitor thread that publishes its handle afterwards: it is woken, or need not be. Any
    // thread.
    void WithHandle(const std::function<void(std::int32_t)>& wake);
    // True when the interface names a host adapter (interface 2 is in use only then).
    bool NamesAdapter() const { return !adapterIpText.empty() || !adapterMacText.empty(); }

private:
    std::mutex m_handleLock; // beginning and end of the handle; nothing of the library is called under it
};

// Whom the guest of the interface may answer. Monitor thread.
ReplyScope ReplyScopeOf(INTERFACE_INFO& info);

} // namespace vnxtest
