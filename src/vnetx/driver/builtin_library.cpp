#include "vnetx/driver/builtin_library.h"

#include <cerrno>

#include "packets/checksum.h"
#include "vnetx/driver/guest_mac.h"
#include "vnetx/failure.h"
#include "vnetx/host/host_links.h"
#include "vnetx/records.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// The addresses of the host's own adapters, asked without an open handle.
std::int32_t QueryHost(std::uint32_t request, void* record) {
    if (request != VNETX_SIOCGARP && request != VNETX_SIOCGRARP) {
        return Fail(EBADF);
    }
    if (!record) {
        return Fail(EINVAL);
    }
    auto& arp = *static_cast<VnetxArpRequest*>(record);
    if (request == VNETX_SIOCGARP) {
        if (arp.protocolFamily != VNETX_AF_INET) {
            return Fail(EAFNOSUPPORT);
        }
        const auto link = FindHostLink(Ipv4In(arp));
        if (!link || link->mac.IsZero()) {
            return Fail(ENXIO);
        }
        PutMac(arp, link->mac);
        return 0;
    }
    const auto link = FindHostLink(MacIn(arp));
    if (!link || link->addresses.empty()) {
        return Fail(ENXIO);
    }
    PutIpv4(arp, link->addresses.front().address);
    return 0;
}

} // namespace

std::int32_t BuiltinLibrary::Open(const char* name, std::int32_t flags) {
    constexpr std::int32_t kKnownFlags = VNETX_OPEN_READ_WRITE | VNETX_OPEN_SOCKET_NOTIFY;
    if (!name || (flags & VNETX_OPEN_READ_WRITE) == 0 || (flags & ~kKnownFlags) != 0) {
        return Fail(EINVAL);
    }
    const bool socketNotify = (flags & VNETX_OPEN_SOCKET_NOTIFY) != 0;
    std::unique_ptr<ReaderGate> gate = MakeGate(socketNotify);
    if (!gate) {
        return Fail(errno);
    }
    std::unique_ptr<VirtualInterface> object = MakeInterface(name, std::move(gate), socketNotify);
    if (!object) {
        return Fail(errno);
    }
    const std::int32_t handle = object->Handle();
    return m_handles.Insert(handle, std::move(object)) ? handle : Fail(EMFILE);
}

void BuiltinLibrary::Close(std::int32_t handle) {
    if (!m_handles.Remove(handle)) {
        Fail(EBADF);
    }
}

std::int32_t BuiltinLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    if (handle == -1) {
        return QueryHost(request, record);
    }
    const auto pin = m_handles.Find(handle);
    return pin ? pin->Ioctl(request, record) : Fail(EBADF);
}

std::int32_t BuiltinLibrary::Read(std::int32_t handle, void* buffer, std::uint32_t size) {
    const auto pin = m_handles.Find(handle);
    return pin ? pin->Read(buffer, size) : Fail(EBADF);
}

std::int32_t BuiltinLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    const auto pin = m_handles.Find(handle);
    return pin ? pin->Write(frame, length) : Fail(EBADF);
}

std::int32_t BuiltinLibrary::GetStats(std::int32_t handle, VnetxStatistics* record) {
    const auto pin = m_handles.Find(handle);
    return pin ? pin->GetStats(record) : Fail(EBADF);
}

std::optional<std::uint64_t> BuiltinLibrary::DroppedByDriver(std::int32_t handle) {
    const auto pin = m_handles.Find(handle);
    return pin ? pin->DroppedByDriver() : std::nullopt;
}

std::uint16_t BuiltinLibrary::CalcInetChecksum(const void* bytes, std::uint32_t length) {
    return InetChecksum({static_cast<const std::uint8_t*>(bytes), length});
}

void BuiltinLibrary::BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) {
    const MacAddress built = BuildGuestMac(LoadIpv4<0>(std::span<const std::uint8_t, 4>(ip, 4)));
    StoreMac<0>(std::span<std::uint8_t, 6>(mac, 6), built);
}

const char* BuiltinLibrary::GetDefaultIface() {
    // Of the thread, so that a caller's text is not changed under it by another's call.
    static thread_local std::string text;
    const auto link = DefaultHostLink();
    text = link ? ToNarrow(FormatMACAddr(link->mac)) : std::string();
    return text.c_str();
}

std::int32_t BuiltinLibrary::SetDebugOutputFunc(VnetxDebugOutput callback) {
    m_debugOutput.store(callback);
    return 1;
}

void BuiltinLibrary::VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                                    std::int32_t* build) {
    std::int32_t* const parts[] = {major, minor, release, build};
    for (std::size_t i = 0; i < 4; ++i) {
        if (parts[i]) {
            *parts[i] = kBuiltinVersion[i];
        }
    }
}

} // namespace vnxtest
