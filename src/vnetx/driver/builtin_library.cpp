#include "vnetx/driver/builtin_library.h"

#include <array>
#include <cerrno>
#include <string>

#include "packets/checksum.h"
#include "packets/wire.h"
#include "vnetx/driver/guest_mac.h"
#include "vnetx/failure.h"
#include "vnetx/host/host_links.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

class HostAdapters final : public Neighbourhood {
    MacAddress FindMac(Ipv4Address address) override {
        const auto link = FindHostLink(address);
        return link ? link->mac : MacAddress();
    }
    Ipv4Address FindIp(MacAddress mac) override {
        const auto link = FindHostLink(mac);
        return link && !link->addresses.empty() ? link->addresses.front().address : Ipv4Address();
    }
};

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
    auto state = std::make_unique<InterfaceState>(std::move(gate), socketNotify, m_debugOutput);
    DriverParts parts = MakeDriver(name, *state);
    if (!parts.driver) {
        return Fail(errno);
    }
    auto object = std::make_unique<VirtualInterface>(std::move(state), std::move(parts));
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
        return QueryAdapters(request, record);
    }
    const auto pin = m_handles.Find(handle);
    return pin ? pin->Ioctl(request, record) : Fail(EBADF);
}

// SIOCGARP and SIOCGRARP without an open handle: the host's own adapters.
std::int32_t BuiltinLibrary::QueryAdapters(std::uint32_t request, void* record) {
    if (!IsNeighbourQuery(request)) {
        return Fail(EBADF);
    }
    if (!record) {
        return Fail(EINVAL);
    }
    const int code = AnswerNeighbourQuery(Adapters(), request, *static_cast<VnetxArpRequest*>(record));
    return code == 0 ? 0 : Fail(code);
}

Neighbourhood& BuiltinLibrary::Adapters() {
    static HostAdapters adapters;
    return adapters;
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

std::optional<WireFacts> BuiltinLibrary::Noticed(std::int32_t handle) {
    const auto pin = m_handles.Find(handle);
    return pin ? pin->Noticed() : std::nullopt;
}

std::uint16_t BuiltinLibrary::CalcInetChecksum(const void* bytes, std::uint32_t length) {
    return InetChecksum({static_cast<const std::uint8_t*>(bytes), length});
}

void BuiltinLibrary::BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) {
    const MacAddress built = BuildGuestMac(LoadIpv4<0>(std::span<const std::uint8_t, 4>(ip, 4)));
    StoreMac<0>(std::span<std::uint8_t, 6>(mac, 6), built);
}

const char* BuiltinLibrary::GetDefaultIface() {
    // Thread-local, so that a call on another thread does not change the text that a caller holds. No
    // std::string: see docs/building-for-windows.md.
    static thread_local std::array<char, 32> text{};
    const auto link = DefaultHostLink();
    const std::string address = link ? ToNarrow(FormatMACAddr(link->mac)) : std::string();
    text[address.copy(text.data(), text.size() - 1)] = '\0';
    return text.data();
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
            *parts[i] = kVersionNumbers[i];
        }
    }
}

} // namespace vnxtest
