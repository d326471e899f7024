#include "vnetx/driver/virtual_interface.h"

#include <cerrno>

#include "packets/reply_scope.h"
#include "vnetx/failure.h"

namespace vnxtest {

VirtualInterface::VirtualInterface(std::unique_ptr<InterfaceState> state, DriverParts parts)
    : m_state(std::move(state)), m_parts(std::move(parts)), m_reader(*m_state, *m_parts.driver),
      m_requests(*m_state, *m_parts.driver, *m_parts.facts, m_reader) {}

VirtualInterface::~VirtualInterface() {
    m_state->gate->StopWatching(); // before what is watched goes away
}

std::int32_t VirtualInterface::Ioctl(std::uint32_t request, void* record) {
    if (!record) {
        return Fail(EINVAL);
    }
    // A neighbour query does not take the lock of the requests: an ARP exchange may take 150 ms.
    const int code =
        IsNeighbourQuery(request)
            ? AnswerNeighbourQuery(*m_parts.neighbours, request, *static_cast<VnetxArpRequest*>(record))
            : m_requests.Carry(request, *static_cast<VnetxInterfaceRequest*>(record));
    return code == 0 ? 0 : Fail(code);
}

std::int32_t VirtualInterface::Read(void* buffer, std::uint32_t size) {
    if (!buffer || size == 0) {
        return Fail(EINVAL);
    }
    return m_reader.Read({static_cast<std::uint8_t*>(buffer), size});
}

std::int32_t VirtualInterface::Write(const void* frame, std::uint32_t length) {
    if (!frame || length == 0) {
        return Fail(EINVAL);
    }
    const InterfaceSettings& settings = m_state->settings;
    m_state->counters.writing.calls.Add();
    if (!settings.IsUp()) {
        return Fail(ENETDOWN);
    }
    const std::span bytes(static_cast<const std::uint8_t*>(frame), length);
    if (IsReplyToNobody(bytes, settings.IsTap(), settings.Scope())) {
        m_state->counters.ignored.Add();
        return static_cast<std::int32_t>(length);
    }
    return m_parts.driver->WriteFrame(bytes);
}

std::int32_t VirtualInterface::GetStats(VnetxStatistics* record) {
    if (!record || record->length != sizeof(VnetxStatistics)) {
        return Fail(EINVAL);
    }
    record->kernelBufferSize = m_state->settings.deviceBufferSize.load(std::memory_order_relaxed);
    record->ioBufferSize = m_state->settings.ioBufferSize.load(std::memory_order_relaxed);
    m_state->counters.Fill(*record);
    return 0;
}

} // namespace vnxtest
