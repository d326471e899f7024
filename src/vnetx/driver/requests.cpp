#include "vnetx/driver/requests.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>

#include <fmt/format.h>

#include "vnetx/records.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

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

// None unless VNETX_IFF_NO_PI is set: frames carry no packet information header.
InterfaceMode ModeOf(std::uint16_t flags) {
    return flags == (VNETX_IFF_TAP | VNETX_IFF_NO_PI)   ? InterfaceMode::Tap
           : flags == (VNETX_IFF_TUN | VNETX_IFF_NO_PI) ? InterfaceMode::Tun
                                                        : InterfaceMode::None;
}

} // namespace

int AnswerNeighbourQuery(Neighbourhood& neighbours, std::uint32_t request, VnetxArpRequest& record) {
    if (request == VNETX_SIOCGARP) {
        if (record.protocolFamily != VNETX_AF_INET) {
            return EAFNOSUPPORT;
        }
        const MacAddress mac = neighbours.FindMac(Ipv4In(record));
        if (mac.IsZero()) {
            return ENXIO;
        }
        PutMac(record, mac);
        return 0;
    }
    const Ipv4Address address = neighbours.FindIp(MacIn(record));
    if (address.IsZero()) {
        return ENXIO;
    }
    PutIpv4(record, address);
    return 0;
}

struct InterfaceRequests::Row {
    using Address = AtomicIpv4 InterfaceSettings::*;
    using Number = std::atomic<std::uint32_t> InterfaceSettings::*;

    std::uint32_t code;
    std::string_view name; // in the debug output
    bool byName;           // addresses an interface by its name
    int (InterfaceRequests::*carry)(const Row&, VnetxInterfaceRequest&);
    Address address = nullptr; // for SetAddress and SetMask
    Number number = nullptr;   // for SetNumber, SetBuffer and SetMtu
    std::uint32_t most = 0;    // the greatest such number
};

using S = InterfaceSettings;
const InterfaceRequests::Row InterfaceRequests::kTable[] = {
    {VNETX_TUNSETDEBUG, "TUNSETDEBUG", false, &InterfaceRequests::SetDebug},
    {VNETX_TUNSETIFF, "TUNSETIFF", false, &InterfaceRequests::SetMode},
    {VNETX_TUNSETIFF_OLD, "TUNSETIFF", false, &InterfaceRequests::SetMode},
    {VNETX_VNXSDEVBUFF, "VNXSDEVBUFF", false, &InterfaceRequests::SetBuffer, nullptr, &S::deviceBufferSize,
     kMaximumDeviceBuffer},
    {VNETX_VNXSIOBUFF, "VNXSIOBUFF", false, &InterfaceRequests::SetBuffer, nullptr, &S::ioBufferSize,
     kMaximumIoBuffer},
    {VNETX_VNXSTIMEOUT, "VNXSTIMEOUT", false, &InterfaceRequests::SetNumber, nullptr, &S::timeout, INT_MAX},
    {VNETX_SIOCSIFFLAGS, "SIOCSIFFLAGS", true, &InterfaceRequests::SetFlags},
    {VNETX_SIOCSIFADDR, "SIOCSIFADDR", true, &InterfaceRequests::SetAddress, &S::hostIp},
    {VNETX_SIOCGIFADDR, "SIOCGIFADDR", true, &InterfaceRequests::GetAddress},
    {VNETX_SIOCSIFDSTADDR, "SIOCSIFDSTADDR", true, &InterfaceRequests::SetAddress, &S::guestIp},
    {VNETX_SIOCSIFBRDADDR, "SIOCSIFBRDADDR", true, &InterfaceRequests::SetAddress, &S::broadcastIp},
    {VNETX_SIOCSIFNETMASK, "SIOCSIFNETMASK", true, &InterfaceRequests::SetMask, &S::netMask},
    {VNETX_SIOCSIFMTU, "SIOCSIFMTU", true, &InterfaceRequests::SetMtu, nullptr, &S::mtu, UINT32_MAX},
    {VNETX_SIOCSIFHWADDR, "SIOCSIFHWADDR", true, &InterfaceRequests::SetMac},
    {VNETX_SIOCGIFHWADDR, "SIOCGIFHWADDR", true, &InterfaceRequests::GetMac},
};

int InterfaceRequests::Carry(std::uint32_t request, VnetxInterfaceRequest& record) {
    const std::lock_guard lock(m_mutex);
    const auto row = std::ranges::find(kTable, request, &Row::code);
    if (row == std::end(kTable)) {
        return EINVAL;
    }
    // A caller without a name means the handle's own.
    const std::string_view name(record.name, strnlen(record.name, VNETX_NAME_SIZE));
    if (row->byName &&
        (m_settings.mode.load() == InterfaceMode::None || (!name.empty() && name != m_settings.name))) {
        return ENODEV;
    }
    return (this->*row->carry)(*row, record);
}

void InterfaceRequests::Tell(const Row& row, std::string_view oldValue, std::string_view newValue) const {
    m_state.debug.Change(m_settings.name, row.name, oldValue, newValue);
}

int InterfaceRequests::SetDebug(const Row& row, VnetxInterfaceRequest& record) {
    Tell(row, fmt::format("0x{:08X}", m_debugFlags), fmt::format("0x{:08X}", record.u.value));
    m_debugFlags = record.u.value;
    m_state.debug.SetFlags((m_flags & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
    return 0;
}

int InterfaceRequests::SetMode(const Row& row, VnetxInterfaceRequest& record) {
    const InterfaceMode mode = ModeOf(record.u.flags);
    if (mode == InterfaceMode::None || m_settings.mode.load() != InterfaceMode::None) {
        return EINVAL;
    }
    std::string name;
    if (const int code = m_driver.Attach(mode, name); code != 0) {
        return code;
    }
    m_settings.name = name.substr(0, VNETX_NAME_SIZE - 1);
    std::memset(record.name, 0, sizeof record.name);
    std::memcpy(record.name, m_settings.name.data(), m_settings.name.size());
    m_settings.mode.store(mode);
    Tell(row, "none", mode == InterfaceMode::Tap ? "TAP" : "TUN");
    return 0;
}

int InterfaceRequests::SetFlags(const Row& row, VnetxInterfaceRequest& record) {
    const std::uint16_t flags = record.u.flags;
    if ((flags & ~(VNETX_IFF_UP | VNETX_IFF_DEBUG)) != 0) {
        return EINVAL;
    }
    const bool up = (flags & VNETX_IFF_UP) != 0;
    if (up && !m_settings.IsUp()) {
        if (const int code = BringUp(); code != 0) {
            return code;
        }
    } else if (!up && m_settings.IsUp()) {
        TakeDown();
    }
    // The change of the flags is itself a line while debugging is on before or after it.
    m_state.debug.SetFlags(((flags | m_flags) & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
    Tell(row, fmt::format("0x{:04X}", m_flags), fmt::format("0x{:04X}", flags));
    m_state.debug.SetFlags((flags & VNETX_IFF_DEBUG) != 0 ? m_debugFlags : 0);
    m_flags = flags;
    return 0;
}

int InterfaceRequests::BringUp() {
    const auto reading = m_reader.Pause(); // the driver changes under the reading lock
    if (const int code = m_driver.SetUp(true); code != 0) {
        return code;
    }
    if (!m_wasUp) {
        const int code =
            m_state.gate->Watch(m_driver.FrameWaitObject(), [this] { return m_driver.Health(); });
        if (code != 0) {
            m_driver.SetUp(false);
            return code;
        }
    }
    m_wasUp = true;
    m_settings.up.store(true, std::memory_order_release);
    return 0;
}

void InterfaceRequests::TakeDown() {
    const auto reading = m_reader.Pause();
    m_settings.up.store(false, std::memory_order_release);
    m_driver.SetUp(false);
}

int InterfaceRequests::SetAddress(const Row& row, VnetxInterfaceRequest& record) {
    if (record.u.inet.family != VNETX_AF_INET) {
        return EAFNOSUPPORT;
    }
    AtomicIpv4& address = m_settings.*row.address;
    Tell(row, Text(address.Get()), Text(Ipv4In(record)));
    address.Set(Ipv4In(record));
    return 0;
}

int InterfaceRequests::SetMask(const Row& row, VnetxInterfaceRequest& record) {
    return IsContiguousMask(Ipv4In(record)) ? SetAddress(row, record) : EINVAL;
}

int InterfaceRequests::SetNumber(const Row& row, VnetxInterfaceRequest& record) {
    if (record.u.value > row.most) {
        return EINVAL;
    }
    const std::uint32_t old = (m_settings.*row.number).exchange(record.u.value);
    Tell(row, std::to_string(old), std::to_string(record.u.value));
    return 0;
}

int InterfaceRequests::SetBuffer(const Row& row, VnetxInterfaceRequest& record) {
    if (record.u.value == 0 || record.u.value > row.most) {
        return EINVAL;
    }
    return m_wasUp ? EBUSY : SetNumber(row, record); // the buffers exist already
}

int InterfaceRequests::SetMtu(const Row& row, VnetxInterfaceRequest& record) {
    if (record.u.mtu < kMinimumMtu || record.u.mtu > m_facts.MaximumMtu()) {
        return EINVAL;
    }
    return m_wasUp ? EBUSY : SetNumber(row, record); // the driver's slots were cut to the old one
}

int InterfaceRequests::SetMac(const Row& row, VnetxInterfaceRequest& record) {
    if (record.u.hardware.family != VNETX_ARPHRD_ETHER) {
        return EINVAL;
    }
    const MacAddress mac = MacIn(record);
    if (mac.IsZero() || mac.IsGroup()) {
        return EADDRNOTAVAIL;
    }
    if (m_settings.IsUp()) {
        return EBUSY;
    }
    Tell(row, Text(m_settings.ownMac.Get()), Text(mac));
    m_settings.ownMac.Set(mac);
    return 0;
}

int InterfaceRequests::GetMac(const Row&, VnetxInterfaceRequest& record) {
    const MacAddress mac = m_settings.GuestMac();
    if (mac.IsZero()) {
        return EADDRNOTAVAIL;
    }
    PutMac(record, mac);
    return 0;
}

int InterfaceRequests::GetAddress(const Row&, VnetxInterfaceRequest& record) {
    const Ipv4Address set = m_settings.hostIp.Get();
    const auto address = set.IsZero() ? m_facts.Address() : std::optional(set);
    if (!address) {
        return EADDRNOTAVAIL;
    }
    PutIpv4(record, *address);
    return 0;
}

} // namespace vnxtest
