// The settings of an open interface, and what follows from them.
//
// Frames are read and written while a request sets them, so each is an atomic: reading, writing and
// requests share no lock for them.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "packets/reply_scope.h"
#include "wrenlib/address.h"

namespace vnxtest {

enum class InterfaceMode { None, Tun, Tap };

// An address of the settings as one atomic word.
class AtomicIpv4 {
public:
    Ipv4Address Get() const { return Ipv4Address::FromMemory(m_image.load(std::memory_order_relaxed)); }
    void Set(Ipv4Address address) { m_image.store(address.Memory(), std::memory_order_relaxed); }

private:
    std::atomic<std::uint32_t> m_image{0};
};

class AtomicMac {
public:
    MacAddress Get() const;
    void Set(MacAddress mac);

private:
    std::atomic<std::uint64_t> m_image{0};
};

struct InterfaceSettings {
    std::atomic<InterfaceMode> mode{InterfaceMode::None};
    std::atomic<bool> up{false};
    std::string name; // stable once there is a mode

    AtomicIpv4 hostIp, guestIp, netMask, broadcastIp; // zero: not set
    AtomicMac ownMac;                                 // zero: it follows from the guest's address
    AtomicIpv4 adapterIp, adapterMask;     // the adapter's own subnet, for guests that have none set
    std::atomic<std::uint32_t> mtu{0};     // 0: the driver's own
    std::atomic<std::uint32_t> timeout{0}; // milliseconds that a read may wait; 0: no limit
    std::atomic<std::uint32_t> deviceBufferSize{1024 * 1024}, ioBufferSize{64 * 1024}; // bytes

    bool IsTap() const { return mode.load(std::memory_order_relaxed) == InterfaceMode::Tap; }
    bool IsUp() const { return up.load(std::memory_order_acquire); }
    std::uint32_t Mtu() const { return mtu.load(std::memory_order_relaxed); }
    MacAddress GuestMac() const;
    // What a reply of the guest is judged by.
    ReplyScope Scope() const;
};

} // namespace vnxtest
