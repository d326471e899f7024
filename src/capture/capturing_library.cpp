#include "capture/capturing_library.h"

#include <cerrno>
#include <utility>

#include "vnetx/frame_arrival.h"
#include "vnetx/records.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Of the frame that this thread writes next.
thread_local FrameVerdict t_announced;

// The kernel's stamp of the frame that was just read; now, if it has none.
std::uint64_t ArrivalTime() {
    const std::int64_t stamp = frame_arrival::OfLastFrame();
    return stamp > 0 ? static_cast<std::uint64_t>(stamp) : CaptureTime();
}

std::span<const std::uint8_t> BytesOf(const void* frame, std::uint32_t length) {
    return {static_cast<const std::uint8_t*>(frame), length};
}

std::uint16_t FlagsOf(std::uint32_t request, const void* record) {
    const bool has =
        request == VNETX_TUNSETIFF || request == VNETX_TUNSETIFF_OLD || request == VNETX_SIOCSIFFLAGS;
    return has ? static_cast<const VnetxInterfaceRequest*>(record)->u.flags : std::uint16_t{0};
}

} // namespace

CapturingLibrary::CapturingLibrary(VnetxLibrary& inner, AdapterLookup lookup)
    : ForwardingLibrary(inner), m_lookup(std::move(lookup)) {}

CapturingLibrary::~CapturingLibrary() {
    g_frameWatcher.store(nullptr, std::memory_order_release);
    for (Port& port : m_ports) {
        CloseRead(port, {});
    }
}

void CapturingLibrary::CaptureNextStart(std::shared_ptr<FrameCapture> capture) {
    const std::lock_guard lock(m_lock);
    m_next = std::move(capture);
}

CapturingLibrary::Port* CapturingLibrary::Find(std::int32_t handle) {
    if (!m_capturing.load(std::memory_order_acquire) || handle < 0) {
        return nullptr;
    }
    for (Port& port : m_ports) {
        if (port.handle.load(std::memory_order_acquire) == handle) {
            return &port;
        }
    }
    return nullptr;
}

std::int32_t CapturingLibrary::Open(const char* name, std::int32_t flags) {
    const std::int32_t handle = Inner().Open(name, flags);
    if (handle >= 0) {
        Attach(handle, name);
    }
    return handle;
}

void CapturingLibrary::Attach(std::int32_t handle, const char* name) {
    const std::lock_guard lock(m_lock);
    if (m_open++ == 0 && m_next) {
        m_current = std::move(m_next);
        m_current->Begin();
        m_capturing.store(true, std::memory_order_release);
        g_frameWatcher.store(this, std::memory_order_release);
    }
    if (!m_capturing) {
        return;
    }
    for (Port& port : m_ports) {
        if (port.handle.load(std::memory_order_relaxed) < 0) {
            port.capture = m_current.get();
            port.block = {};
            port.adapter = ToWide(name);
            port.guest.clear();
            port.number = -1;
            port.handle.store(handle, std::memory_order_release);
            return;
        }
    }
}

void CapturingLibrary::Close(std::int32_t handle) {
    if (Port* const port = Find(handle)) {
        EndPort(*port);
    }
    Inner().Close(handle);
    const std::lock_guard lock(m_lock);
    if (handle >= 0 && m_open > 0 && --m_open == 0 && m_capturing) {
        m_capturing.store(false, std::memory_order_release);
        g_frameWatcher.store(nullptr, std::memory_order_release);
        m_current->End();
    }
}

void CapturingLibrary::EndPort(Port& port) {
    CloseRead(port, {});
    const std::int32_t handle = port.handle.load(std::memory_order_relaxed);
    if (const int number = port.number.exchange(-1); number >= 0) {
        VnetxStatistics statistics{};
        statistics.length = sizeof statistics;
        const bool counted = Inner().GetStats(handle, &statistics) == 0;
        port.capture->EndInterface(static_cast<std::uint8_t>(number),
                                   counted ? std::optional(static_cast<std::uint64_t>(statistics.packetsRead))
                                           : std::nullopt,
                                   Inner().DroppedByDriver(handle));
    }
    port.handle.store(-1, std::memory_order_release);
}

std::int32_t CapturingLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    Port* const port = Find(handle);
    if (port == nullptr) {
        return Inner().Ioctl(handle, request, record);
    }
    const std::uint16_t flags = FlagsOf(request, record); // before the library answers in the record
    const std::int32_t result = Inner().Ioctl(handle, request, record);
    if (result == 0 && request != VNETX_SIOCGARP && request != VNETX_SIOCGRARP) {
        auto noted = *static_cast<const VnetxInterfaceRequest*>(record);
        if (flags != 0) {
            noted.u.flags = flags;
        }
        NoteRequest(*port, request, noted);
    }
    return result;
}

void CapturingLibrary::NoteRequest(Port& port, std::uint32_t request, const VnetxInterfaceRequest& record) {
    switch (request) {
    case VNETX_TUNSETIFF:
    case VNETX_TUNSETIFF_OLD: {
        const bool tap = (record.u.flags & VNETX_IFF_TAP) != 0;
        port.block.link = tap ? pcapng::LinkType::Ethernet : pcapng::LinkType::RawIp;
        const std::string_view name(record.name, sizeof record.name);
        port.block.name = ToUtf8(ToWide(name.substr(0, name.find('\0'))));
        break;
    }
    case VNETX_SIOCSIFDSTADDR:
        port.guest = FormatIPAddr(Ipv4In(record));
        break;
    case VNETX_SIOCSIFHWADDR:
    case VNETX_SIOCGIFHWADDR:
        port.block.mac = MacIn(record);
        break;
    case VNETX_SIOCSIFFLAGS:
        if ((record.u.flags & VNETX_IFF_UP) != 0 && port.number.load(std::memory_order_relaxed) < 0) {
            const CapturedAdapter adapter = m_lookup(port.adapter);
            const std::wstring on = adapter.description.empty() ? port.adapter : adapter.description;
            port.block.description = ToUtf8(Sprintf(L"guest %s on the adapter %s", port.guest, on));
            port.block.speed = adapter.speed;
            if (const auto number = port.capture->AddInterface(port.block)) {
                port.number.store(*number, std::memory_order_release);
            }
        }
        break;
    default:
        break;
    }
}

std::int32_t CapturingLibrary::Read(std::int32_t handle, void* buffer, std::uint32_t size) {
    Port* const port = Find(handle);
    if (port == nullptr) {
        return Inner().Read(handle, buffer, size);
    }
    CloseRead(*port, {}); // nobody has judged the one before
    const std::int32_t length = Inner().Read(handle, buffer, size);
    const int number = port->number.load(std::memory_order_acquire);
    if (length > 0 && static_cast<std::uint32_t>(length) <= size && number >= 0) {
        port->read = port->capture->Put({.interface = static_cast<std::uint8_t>(number),
                                         .direction = pcapng::Direction::Inbound,
                                         .time = ArrivalTime(),
                                         .bytes = BytesOf(buffer, static_cast<std::uint32_t>(length))});
    }
    return length;
}

// The frame is put in before it is written, so that it stands before its answer.
std::int32_t CapturingLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    Port* const port = Find(handle);
    const int number = port != nullptr ? port->number.load(std::memory_order_acquire) : -1;
    const FrameVerdict announced = port != nullptr ? std::exchange(t_announced, {}) : FrameVerdict{};
    if (number < 0) {
        return Inner().Write(handle, frame, length);
    }
    FrameCapture& capture = *port->capture;
    QueuedFrame* const queued = capture.Put({.interface = static_cast<std::uint8_t>(number),
                                             .direction = pcapng::Direction::Outbound,
                                             .time = CaptureTime(),
                                             .bytes = BytesOf(frame, length)});
    const std::int32_t written = Inner().Write(handle, frame, length);
    if (queued != nullptr) {
        queued->verdict = announced;
        if (written != static_cast<std::int32_t>(length)) {
            queued->failure = errno != 0 ? errno : EIO;
        }
        const ErrorKeeper keeper;
        capture.Close(queued);
    }
    return written;
}

void CapturingLibrary::CloseRead(Port& port, const FrameVerdict& verdict) {
    if (QueuedFrame* const read = std::exchange(port.read, nullptr)) {
        read->verdict = verdict;
        port.capture->Close(read);
    }
}

void CapturingLibrary::JudgeRead(std::int32_t handle, const FrameVerdict& verdict) noexcept {
    if (Port* const port = Find(handle)) {
        CloseRead(*port, verdict);
    }
}

void CapturingLibrary::AnnounceWrite(const FrameVerdict& verdict) noexcept {
    t_announced = verdict;
}

} // namespace vnxtest
