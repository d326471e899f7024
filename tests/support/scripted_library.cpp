#include "support/scripted_library.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "vnetx/checksum.h"
#include "wrenlib/errors.h"

namespace vnxtest {

namespace {
constexpr std::int32_t kHandle = 3;

std::int32_t FailWith(int code) {
    SetLastError(static_cast<std::uint32_t>(code));
    errno = code;
    return -1;
}
} // namespace

std::int32_t ScriptedLibrary::Open(const char* name, std::int32_t flags) {
    openedName = name;
    openedFlags = flags;
    if (failOpen != 0) {
        return FailWith(failOpen);
    }
    m_open = true;
    return kHandle;
}

void ScriptedLibrary::Close(std::int32_t) {
    m_open = false;
    errno = EIO; // closing disturbs errno, as a real close may
}

std::int32_t ScriptedLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    if (request == VNETX_SIOCGARP || request == VNETX_SIOCGRARP) {
        auto* const arp = static_cast<VnetxArpRequest*>(record);
        arpRequests.push_back(request);
        lastArp = {handle, *arp};
        if (neighbourMac.empty() || arpRequests.size() <= silentArpRequests) {
            return FailWith(ENXIO);
        }
        std::ranges::copy(neighbourMac, arp->hardwareAddress);
        if (request == VNETX_SIOCGRARP) {
            std::ranges::copy(neighbourIp.Bytes(), arp->protocolAddress);
        }
        return 0;
    }
    auto* const own = static_cast<VnetxInterfaceRequest*>(record);
    requests.push_back({request, *own});
    if (const auto failure = failRequests.find(request); failure != failRequests.end()) {
        return FailWith(failure->second);
    }
    if (request == VNETX_TUNSETIFF || request == VNETX_TUNSETIFF_OLD) {
        std::memset(own->name, 0, sizeof own->name);
        std::memcpy(own->name, interfaceName.data(), std::min(interfaceName.size(), sizeof own->name - 1));
    }
    if (request == VNETX_SIOCGIFHWADDR) {
        own->u.hardware = {VNETX_ARPHRD_ETHER, {0x02, 0, 0, 0, 0, 9}, {}};
    }
    return 0;
}

std::int32_t ScriptedLibrary::Read(std::int32_t, void* buffer, std::uint32_t) {
    std::unique_lock lock(m_lock);
    m_arrived.wait_for(lock, std::chrono::milliseconds(20), [this] { return !m_frames.empty(); });
    if (m_frames.empty()) {
        return failRead != 0 ? FailWith(failRead) : 0;
    }
    const Frame frame = std::move(m_frames.front());
    m_frames.pop_front();
    std::ranges::copy(frame, static_cast<std::uint8_t*>(buffer));
    return static_cast<std::int32_t>(frame.size());
}

std::int32_t ScriptedLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    if (handle != kHandle) {
        return FailWith(EBADF);
    }
    if (failWrite != 0) {
        return FailWith(failWrite);
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(frame);
    Frame copy(bytes, bytes + length);
    if (onWrite) {
        onWrite(copy);
    }
    const std::lock_guard lock(m_lock);
    m_written.push_back(std::move(copy));
    return static_cast<std::int32_t>(length);
}

std::int32_t ScriptedLibrary::GetStats(std::int32_t, VnetxStatistics* record) {
    const std::uint32_t length = record->length;
    *record = {};
    record->length = length;
    record->kernelBufferSize = 1048577;
    record->ioBufferSize = 65536;
    record->packetsWritten = 5;
    return 0;
}

std::uint16_t ScriptedLibrary::CalcInetChecksum(const void* bytes, std::uint32_t length) {
    return InetChecksum(bytes, length);
}

void ScriptedLibrary::BuildVantIfaceMac(std::uint8_t* mac, const std::uint8_t* ip) {
    const std::uint8_t built[6] = {0x02, 0x00, ip[0], ip[1], ip[2], ip[3]};
    std::ranges::copy(built, mac);
}

void ScriptedLibrary::VersionNumbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                                     std::int32_t* build) {
    *major = 1;
    *minor = *release = *build = 0;
}

void ScriptedLibrary::QueueFrame(Frame frame) {
    {
        const std::lock_guard lock(m_lock);
        m_frames.push_back(std::move(frame));
    }
    m_arrived.notify_all();
}

std::vector<Frame> ScriptedLibrary::Written() {
    const std::lock_guard lock(m_lock);
    return m_written;
}

} // namespace vnxtest
