#include "vnetx/driver/virtual_interface.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstring>

#include <fmt/format.h>

#include "vnetx/driver/guest_mac.h"
#include "vnetx/failure.h"
#include "vnetx/records.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// A waiting read looks at the adapter's health at least so often.
constexpr int kHealthIntervalMs = 250;
constexpr auto kLeastHealthInterval = std::chrono::milliseconds(100);
constexpr std::uint32_t kMinimumMtu = 46;
constexpr std::uint32_t kMaximumDeviceBuffer = 1u << 30;
constexpr std::uint32_t kMaximumIoBuffer = 1u << 26;

std::string Text(Ipv4Address address) {
    return ToNarrow(FormatIPAddr(address));
}
std::string Text(MacAddress mac) {
    return ToNarrow(FormatMACAddr(mac));
}

bool IsContiguousMask(Ipv4Address mask) {
    const std::uint32_t hostPart = ~mask.Host();
    return (hostPart & (hostPart + 1)) == 0;
}

int MillisecondsSince(PollPolicy::Clock::time_point start) {
    return static_cast<int>(std::min<std::int64_t>(
        INT_MAX,
        std::chrono::duration_cast<std::chrono::milliseconds>(PollPolicy::Clock::now() - start).count()));
}

// The shorter of two waits, where a negative one has no limit.
int ShorterWait(int left, int right) {
    if (left < 0 || right < 0) {
        return std::max(left, right);
    }
    return std::min(left, right);
}

} // namespace

MacAddress AtomicMac::Get() const {
    const std::uint64_t image = m_image.load(std::memory_order_relaxed);
    std::array<std::uint8_t, 6> bytes;
    std::memcpy(bytes.data(), &image, bytes.size());
    return MacAddress(bytes);
}

void AtomicMac::Set(MacAddress mac) {
    std::uint64_t image = 0;
    std::memcpy(&image, mac.Bytes().data(), mac.Bytes().size());
    m_image.store(image, std::memory_order_relaxed);
}

VirtualInterface::VirtualInterface(std::unique_ptr<ReaderGate> gate, bool socketNotify,
                                   const std::atomic<VnetxDebugOutput>& debugSink)
    : m_gate(std::move(gate)), m_socketNotify(socketNotify), m_debug(debugSink) {}

MacAddress VirtualInterface::GuestMac() const {
    const MacAddress mac = m_guestMac.Get();
    const Ipv4Address ip = m_guestIp.Get();
    return mac.IsZero() && !ip.IsZero() ? BuildGuestMac(ip) : mac;
}

std::int32_t VirtualInterface::Ioctl(std::uint32_t request, void* record) {
    if (!record) {
        return Fail(EINVAL);
    }
    const int code = Decode(request, record);
    return code == 0 ? 0 : Fail(code);
}

int VirtualInterface::Decode(std::uint32_t request, void* record) {
    if (request == VNETX_SIOCGARP || request == VNETX_SIOCGRARP) {
        // Not under the requests' lock: an exchange may take its time.
        return Query(request, *static_cast<VnetxArpRequest*>(record));
    }
    auto& interfaceRequest = *static_cast<VnetxInterfaceRequest*>(record);
    const std::lock_guard lock(m_requestMutex);
    switch (request) {
    case VNETX_TUNSETDEBUG:
        m_debug.Change(m_name, "TUNSETDEBUG", fmt::format("0x{:08X}", m_debugFlags),
                       fmt::format("0x{:08X}", interfaceRequest.u.value));
        m_debugFlags = interfaceRequest.u.value;
        m_debug.SetFlags((m_flags & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
        return 0;
    case VNETX_TUNSETIFF:
    case VNETX_TUNSETIFF_OLD:
        return SetMode(interfaceRequest);
    case VNETX_VNXSDEVBUFF:
        return interfaceRequest.u.value > kMaximumDeviceBuffer
                   ? EINVAL
                   : SetBuffer("VNXSDEVBUFF", m_deviceBufferSize, interfaceRequest.u.value);
    case VNETX_VNXSIOBUFF:
        return interfaceRequest.u.value > kMaximumIoBuffer
                   ? EINVAL
                   : SetBuffer("VNXSIOBUFF", m_ioBufferSize, interfaceRequest.u.value);
    case VNETX_VNXSTIMEOUT:
        if (interfaceRequest.u.value > INT_MAX) {
            return EINVAL;
        }
        SetNumber("VNXSTIMEOUT", m_timeout, interfaceRequest.u.value);
        return 0;
    default:
        break;
    }
    // The rest speaks to an interface by its name; a caller without one means the handle's own.
    const std::string_view name(interfaceRequest.name, strnlen(interfaceRequest.name, VNETX_NAME_SIZE));
    switch (request) {
    case VNETX_SIOCSIFFLAGS:
    case VNETX_SIOCSIFADDR:
    case VNETX_SIOCGIFADDR:
    case VNETX_SIOCSIFDSTADDR:
    case VNETX_SIOCSIFBRDADDR:
    case VNETX_SIOCSIFNETMASK:
    case VNETX_SIOCSIFMTU:
    case VNETX_SIOCSIFHWADDR:
    case VNETX_SIOCGIFHWADDR:
        if (Mode() == InterfaceMode::None || (!name.empty() && name != m_name)) {
            return ENODEV;
        }
        break;
    default:
        return EINVAL;
    }
    switch (request) {
    case VNETX_SIOCSIFFLAGS:
        return SetFlags(interfaceRequest.u.flags);
    case VNETX_SIOCSIFADDR:
        return SetAddress("SIOCSIFADDR", m_hostIp, interfaceRequest);
    case VNETX_SIOCSIFDSTADDR:
        return SetAddress("SIOCSIFDSTADDR", m_guestIp, interfaceRequest);
    case VNETX_SIOCSIFBRDADDR:
        return SetAddress("SIOCSIFBRDADDR", m_broadcastIp, interfaceRequest);
    case VNETX_SIOCSIFNETMASK:
        return IsContiguousMask(Ipv4In(interfaceRequest))
                   ? SetAddress("SIOCSIFNETMASK", m_netMask, interfaceRequest)
                   : EINVAL;
    case VNETX_SIOCSIFMTU:
        return SetMtu(interfaceRequest.u.mtu);
    case VNETX_SIOCSIFHWADDR:
        return SetMac(interfaceRequest);
    case VNETX_SIOCGIFHWADDR: {
        const MacAddress mac = GuestMac();
        if (mac.IsZero()) {
            return EADDRNOTAVAIL;
        }
        PutMac(interfaceRequest, mac);
        return 0;
    }
    default: { // SIOCGIFADDR
        const Ipv4Address set = HostIp();
        const auto address = set.IsZero() ? AdapterAddress() : std::optional(set);
        if (!address) {
            return EADDRNOTAVAIL;
        }
        PutIpv4(interfaceRequest, *address);
        return 0;
    }
    }
}

int VirtualInterface::SetMode(VnetxInterfaceRequest& record) {
    const std::uint16_t flags = record.u.flags;
    InterfaceMode mode = InterfaceMode::None;
    // Frames carry no packet information before them, so the caller has to know it.
    if (flags == (VNETX_IFF_TAP | VNETX_IFF_NO_PI)) {
        mode = InterfaceMode::Tap;
    } else if (flags == (VNETX_IFF_TUN | VNETX_IFF_NO_PI)) {
        mode = InterfaceMode::Tun;
    }
    if (mode == InterfaceMode::None || Mode() != InterfaceMode::None) {
        return EINVAL;
    }
    std::string name;
    if (const int code = Attach(mode, name); code != 0) {
        return code;
    }
    m_name = name.substr(0, VNETX_NAME_SIZE - 1);
    std::memset(record.name, 0, sizeof record.name);
    std::memcpy(record.name, m_name.data(), m_name.size());
    m_mode.store(mode);
    m_debug.Change(m_name, "TUNSETIFF", "none", mode == InterfaceMode::Tap ? "TAP" : "TUN");
    return 0;
}

int VirtualInterface::SetFlags(std::uint16_t flags) {
    if ((flags & ~(VNETX_IFF_UP | VNETX_IFF_DEBUG)) != 0) {
        return EINVAL;
    }
    const bool up = (flags & VNETX_IFF_UP) != 0;
    if (up != IsUp()) {
        // The reader is asked out of its wait, so that the driver can be changed under its feet.
        m_pauseReading.store(true);
        m_gate->Wake();
        const std::lock_guard reading(m_readMutex);
        m_pauseReading.store(false);
        if (up) {
            if (const int code = BringUp(); code != 0) {
                return code;
            }
            if (!m_wasUp) {
                if (const int code = m_gate->Watch(FrameWaitObject(), [this] { return Health(); });
                    code != 0) {
                    TakeDown();
                    return code;
                }
            }
            m_wasUp = true;
        }
        m_up.store(up, std::memory_order_release);
        if (!up) {
            TakeDown();
        }
    }
    // With debugging coming on or staying on, the change itself is a line.
    m_debug.SetFlags(((flags | m_flags) & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
    m_debug.Change(m_name, "SIOCSIFFLAGS", fmt::format("0x{:04X}", m_flags), fmt::format("0x{:04X}", flags));
    m_debug.SetFlags((flags & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
    m_flags = flags;
    return 0;
}

int VirtualInterface::SetAddress(std::string_view setting, AtomicIpv4& address,
                                 const VnetxInterfaceRequest& record) {
    if (record.u.inet.family != VNETX_AF_INET) {
        return EAFNOSUPPORT;
    }
    const Ipv4Address value = Ipv4In(record);
    m_debug.Change(m_name, setting, Text(address.Get()), Text(value));
    address.Set(value);
    return 0;
}

int VirtualInterface::SetBuffer(std::string_view setting, std::atomic<std::uint32_t>& size,
                                std::uint32_t bytes) {
    if (bytes == 0) {
        return EINVAL;
    }
    if (m_wasUp) {
        return EBUSY; // the buffers exist already
    }
    SetNumber(setting, size, bytes);
    return 0;
}

int VirtualInterface::SetMac(const VnetxInterfaceRequest& record) {
    if (record.u.hardware.family != VNETX_ARPHRD_ETHER) {
        return EINVAL;
    }
    const MacAddress mac = MacIn(record);
    if (mac.IsZero() || mac.IsGroup()) {
        return EADDRNOTAVAIL;
    }
    if (IsUp()) {
        return EBUSY;
    }
    m_debug.Change(m_name, "SIOCSIFHWADDR", Text(m_guestMac.Get()), Text(mac));
    m_guestMac.Set(mac);
    return 0;
}

int VirtualInterface::SetMtu(std::uint32_t mtu) {
    if (mtu < kMinimumMtu || mtu > MaximumMtu()) {
        return EINVAL;
    }
    if (m_wasUp) {
        return EBUSY; // the driver's slots were cut to the old one
    }
    SetNumber("SIOCSIFMTU", m_mtu, mtu);
    return 0;
}

void VirtualInterface::SetNumber(std::string_view setting, std::atomic<std::uint32_t>& number,
                                 std::uint32_t value) {
    const std::uint32_t old = number.exchange(value);
    m_debug.Change(m_name, setting, std::to_string(old), std::to_string(value));
}

int VirtualInterface::Query(std::uint32_t request, VnetxArpRequest& record) {
    if (request == VNETX_SIOCGARP) {
        if (record.protocolFamily != VNETX_AF_INET) {
            return EAFNOSUPPORT;
        }
        const MacAddress mac = FindNeighbour(Ipv4In(record));
        if (mac.IsZero()) {
            return ENXIO;
        }
        PutMac(record, mac);
        return 0;
    }
    const Ipv4Address address = FindNeighbourByMac(MacIn(record));
    if (address.IsZero()) {
        return ENXIO;
    }
    PutIpv4(record, address);
    return 0;
}

std::int32_t VirtualInterface::Read(void* buffer, std::uint32_t size) {
    if (!buffer || size == 0) {
        return Fail(EINVAL);
    }
    reading_thread::Begin(m_reader);
    const std::lock_guard lock(m_readMutex);
    m_counters.reading.calls.Add();
    if (m_gate->IsInterrupted()) {
        return m_socketNotify ? 0 : Fail(EBADF);
    }
    if (!IsUp()) {
        return Fail(ENETDOWN);
    }
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    const std::int32_t result = TakeFrame(bytes, size);
    if (result == 0) {
        return WaitForFrame(bytes, size);
    }
    if (m_socketNotify && result > 0) {
        m_policy.FrameAfterPause();
    }
    return result;
}

// Not at the end of every burst: asking costs more than an echo does.
int VirtualInterface::HealthOnceInAWhile(PollPolicy::Clock::time_point now) {
    if (now - m_lastHealthCheck < kLeastHealthInterval) {
        return 0;
    }
    m_lastHealthCheck = now;
    return Health();
}

std::int32_t VirtualInterface::WaitForFrame(std::uint8_t* buffer, std::uint32_t size) {
    const auto start = PollPolicy::Clock::now();
    const auto budget = m_policy.Budget();
    for (auto now = start; now - start < budget; now = PollPolicy::Clock::now()) {
        if (m_gate->IsInterrupted() || m_pauseReading.load(std::memory_order_relaxed)) {
            break;
        }
        if (const std::int32_t result = TakeFrame(buffer, size); result != 0) {
            m_policy.FrameAfter(now - start);
            return result;
        }
    }
    if (m_socketNotify) {
        DoTimedWork();
        if (const int code = HealthOnceInAWhile(start); code != 0) {
            return Fail(code);
        }
        m_policy.PauseBegins(start);
        m_gate->Rearm();
        return 0;
    }
    if (const int code = HealthOnceInAWhile(start); code != 0) {
        return Fail(code);
    }
    const std::uint32_t timeout = m_timeout.load(std::memory_order_relaxed);
    for (;;) {
        const int elapsed = MillisecondsSince(start);
        const int left = timeout == 0 ? kHealthIntervalMs : static_cast<int>(timeout) - elapsed;
        if (m_pauseReading.load()) {
            return 0;
        }
        const int wait = ShorterWait(ShorterWait(std::max(left, 0), kHealthIntervalMs), DoTimedWork());
        switch (m_gate->Wait(FrameWaitObject(), wait)) {
        case ReaderGate::WaitResult::Ready:
            if (const std::int32_t result = TakeFrame(buffer, size); result != 0) {
                m_policy.FrameAfter(PollPolicy::Clock::now() - start);
                return result;
            }
            break;
        case ReaderGate::WaitResult::Failed: {
            const int code = errno;
            const int health = Health();
            return Fail(health != 0 ? health : code);
        }
        case ReaderGate::WaitResult::Woken:
            if (m_gate->IsInterrupted()) {
                return Fail(EBADF);
            }
            break;
        case ReaderGate::WaitResult::TimedOut:
            if (const int code = HealthOnceInAWhile(PollPolicy::Clock::now()); code != 0) {
                return Fail(code);
            }
            break;
        }
        if (timeout != 0 && MillisecondsSince(start) >= static_cast<int>(timeout)) {
            m_policy.NoFrame();
            return 0;
        }
    }
}

std::int32_t VirtualInterface::Write(const void* frame, std::uint32_t length) {
    if (!frame || length == 0) {
        return Fail(EINVAL);
    }
    m_counters.writing.calls.Add();
    if (!IsUp()) {
        return Fail(ENETDOWN);
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(frame);
    if (IsReplyToNobody({bytes, length}, Mode() == InterfaceMode::Tap, Scope())) {
        m_counters.ignored.Add();
        return static_cast<std::int32_t>(length);
    }
    return WriteFrame(bytes, length);
}

ReplyScope VirtualInterface::Scope() const {
    const Ipv4Address mask = NetMask();
    const bool ownSubnet = !mask.IsZero() && mask != Ipv4Address(255, 255, 255, 255);
    return {GuestMac(), GuestIp(), ownSubnet ? GuestIp() : m_adapterIp.Get(),
            ownSubnet ? mask : m_adapterMask.Get(), BroadcastIp()};
}

std::int32_t VirtualInterface::GetStats(VnetxStatistics* record) {
    if (!record || record->length != sizeof(VnetxStatistics)) {
        return Fail(EINVAL);
    }
    record->kernelBufferSize = DeviceBufferSize();
    record->ioBufferSize = IoBufferSize();
    m_counters.Fill(*record);
    return 0;
}

} // namespace vnxtest
