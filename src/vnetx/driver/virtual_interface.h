// One open handle of a built-in library: what all of them have in common.
//
// Here the requests are decoded, the settings kept, the calls counted and the reader's waiting done;
// a driver (libpcap, /dev/net/tun) adds how a frame is taken and written and what a setting means
// to it. The settings that the data road needs are atomics, so that reading and writing share no
// lock with each other or with a request.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "packets/reply_scope.h"
#include "vnetx/driver/debug_lines.h"
#include "vnetx/driver/interface_counters.h"
#include "vnetx/driver/poll_policy.h"
#include "vnetx/driver/reader_gate.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/vnetx.h"
#include "wrenlib/address.h"

namespace vnxtest {

enum class InterfaceMode { None, Tun, Tap };

// The buffer that the program reads into; a longer frame is ignored.
inline constexpr std::uint32_t kFullReadSize = 65535;

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

class VirtualInterface {
public:
    VirtualInterface(std::unique_ptr<ReaderGate> gate, bool socketNotify,
                     const std::atomic<VnetxDebugOutput>& debugSink);
    // A driver's destructor calls Gate().StopWatching() before its wait object goes away.
    virtual ~VirtualInterface() = default;
    VirtualInterface(const VirtualInterface&) = delete;
    VirtualInterface& operator=(const VirtualInterface&) = delete;

    std::int32_t Handle() const { return m_gate->Handle(); }

    // The operations of the contract; any thread, several at once.
    std::int32_t Ioctl(std::uint32_t request, void* record);
    std::int32_t Read(void* buffer, std::uint32_t size);
    std::int32_t Write(const void* frame, std::uint32_t length);
    std::int32_t GetStats(VnetxStatistics* record);

    // Frames that the driver has dropped for want of room; nullopt when it does not tell. Any thread.
    virtual std::optional<std::uint64_t> DroppedByDriver() = 0;

    // Ends a waiting read for good.
    void Interrupt() { m_gate->Interrupt(); }

protected:
    // The parts a driver supplies. Those that return int return 0 or an errno value. Requests come
    // one at a time.

    // Becomes a TUN or TAP interface and says its name.
    virtual int Attach(InterfaceMode mode, std::string& name) = 0;
    // Begins to exchange frames with the settings as they are, for the first time or again after
    // TakeDown(). No read is running.
    virtual int BringUp() = 0;
    virtual void TakeDown() = 0;
    // The largest MTU that can be set now.
    virtual std::uint32_t MaximumMtu() const = 0;
    // 0 while frames can flow; ENETDOWN, ENODEV when the adapter went down or away. Any thread.
    virtual int Health() = 0;
    // The host's address of the link when SIOCSIFADDR gave none.
    virtual std::optional<Ipv4Address> AdapterAddress() = 0;
    // The neighbour queries; zero when there is no answer within their bounds. Any thread.
    virtual MacAddress FindNeighbour(Ipv4Address address) = 0;
    virtual Ipv4Address FindNeighbourByMac(MacAddress mac) = 0;

    // Takes one frame for the program: its length, 0 when there is none now, negative with errno.
    // Under the reading lock.
    virtual std::int32_t TakeFrame(std::uint8_t* buffer, std::uint32_t size) = 0;
    // What a reader waits on while there is none.
    virtual WaitObject FrameWaitObject() const = 0;
    // Does what has come due (under the reading lock) and returns the milliseconds until there is
    // something to do again, or a negative number.
    virtual int DoTimedWork() { return -1; }
    // Writes one frame: its length, or -1 with errno. Counts what it does but for the call itself.
    virtual std::int32_t WriteFrame(const std::uint8_t* frame, std::uint32_t length) = 0;

    // What a driver uses.
    InterfaceMode Mode() const { return m_mode.load(std::memory_order_relaxed); }
    bool IsUp() const { return m_up.load(std::memory_order_acquire); }
    ReaderGate& Gate() { return *m_gate; }
    InterfaceCounters& Counters() { return m_counters; }
    const DebugLines& Debug() const { return m_debug; }
    const std::string& Name() const { return m_name; } // stable once attached
    // Its number among the reading threads' (reading_thread.h).
    std::uint64_t Reader() const { return m_reader; }
    // The guest's MAC: the one set, else the one that follows from the guest's address.
    MacAddress GuestMac() const;
    Ipv4Address GuestIp() const { return m_guestIp.Get(); }
    Ipv4Address HostIp() const { return m_hostIp.Get(); }
    Ipv4Address NetMask() const { return m_netMask.Get(); }
    Ipv4Address BroadcastIp() const { return m_broadcastIp.Get(); }
    // What a reply of the guest is judged by.
    ReplyScope Scope() const;
    // The MTU set, or 0.
    std::uint32_t Mtu() const { return m_mtu.load(std::memory_order_relaxed); }
    std::uint32_t DeviceBufferSize() const { return m_deviceBufferSize.load(std::memory_order_relaxed); }
    std::uint32_t IoBufferSize() const { return m_ioBufferSize.load(std::memory_order_relaxed); }
    // The adapter's own subnet, for guests that have none set.
    void SetAdapterSubnet(Ipv4Address address, Ipv4Address mask) {
        m_adapterIp.Set(address);
        m_adapterMask.Set(mask);
    }
    // What the driver really got, for the statistics.
    void SetIoBufferSize(std::uint32_t bytes) { m_ioBufferSize.store(bytes); }

private:
    int Decode(std::uint32_t request, void* record);
    int SetMode(VnetxInterfaceRequest& record);
    int SetFlags(std::uint16_t flags);
    int SetAddress(std::string_view setting, AtomicIpv4& address, const VnetxInterfaceRequest& record);
    int SetBuffer(std::string_view setting, std::atomic<std::uint32_t>& size, std::uint32_t bytes);
    int SetMac(const VnetxInterfaceRequest& record);
    int SetMtu(std::uint32_t mtu);
    void SetNumber(std::string_view setting, std::atomic<std::uint32_t>& number, std::uint32_t value);
    int Query(std::uint32_t request, VnetxArpRequest& record);
    int HealthOnceInAWhile(PollPolicy::Clock::time_point now);
    std::int32_t WaitForFrame(std::uint8_t* buffer, std::uint32_t size);

    const std::unique_ptr<ReaderGate> m_gate;
    const std::uint64_t m_reader = reading_thread::NewReader();
    const bool m_socketNotify;
    InterfaceCounters m_counters;
    DebugLines m_debug;

    std::mutex m_requestMutex;
    std::string m_name;
    std::uint32_t m_debugFlags = 0;
    std::uint16_t m_flags = 0;

    std::atomic<InterfaceMode> m_mode{InterfaceMode::None};
    std::atomic<bool> m_up{false};
    bool m_wasUp = false;
    AtomicIpv4 m_hostIp, m_guestIp, m_netMask, m_broadcastIp, m_adapterIp, m_adapterMask;
    AtomicMac m_guestMac;
    std::atomic<std::uint32_t> m_mtu{0};
    std::atomic<std::uint32_t> m_timeout{0};
    std::atomic<std::uint32_t> m_deviceBufferSize{1024 * 1024};
    std::atomic<std::uint32_t> m_ioBufferSize{64 * 1024};

    // The reading side, one reader at a time.
    std::mutex m_readMutex;
    std::atomic<bool> m_pauseReading{false};
    PollPolicy m_policy;
    PollPolicy::Clock::time_point m_lastHealthCheck{};
};

} // namespace vnxtest
