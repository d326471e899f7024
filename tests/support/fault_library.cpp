#include "support/fault_library.h"

#include "vnetx/failure.h"

namespace vnxtest {

void FaultLibrary::Inject(const Fault& fault) {
    const std::lock_guard lock(m_mutex);
    m_fault = fault;
    m_counted = m_struck = 0;
}

void FaultLibrary::InjectNothing() {
    const std::lock_guard lock(m_mutex);
    m_fault.reset();
}

std::uint64_t FaultLibrary::Struck() const {
    const std::lock_guard lock(m_mutex);
    return m_struck;
}

std::set<std::int32_t> FaultLibrary::OpenHandles() const {
    const std::lock_guard lock(m_mutex);
    return m_openHandles;
}

bool FaultLibrary::Strike(LibraryCall call, std::uint32_t request) {
    const std::lock_guard lock(m_mutex);
    if (!m_fault || (m_fault->call && *m_fault->call != call) ||
        (m_fault->request && (call != LibraryCall::Ioctl || *m_fault->request != request))) {
        return false;
    }
    ++m_counted;
    if (m_fault->fromThenOn ? m_counted < m_fault->number : m_counted != m_fault->number) {
        return false;
    }
    ++m_struck;
    Fail(m_fault->errnoValue);
    return true;
}

std::int32_t FaultLibrary::Open(const char* name, std::int32_t flags) {
    if (Strike(LibraryCall::Open)) {
        return -1;
    }
    const std::int32_t handle = Inner().Open(name, flags);
    if (handle >= 0) {
        const std::lock_guard lock(m_mutex);
        m_openHandles.insert(handle);
    }
    return handle;
}

void FaultLibrary::Close(std::int32_t handle) {
    {
        // Before the library forgets the handle: afterwards its number may be another's.
        const std::lock_guard lock(m_mutex);
        m_openHandles.erase(handle);
    }
    Inner().Close(handle);
    Strike(LibraryCall::Close);
}

std::int32_t FaultLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    return Strike(LibraryCall::Ioctl, request) ? -1 : Inner().Ioctl(handle, request, record);
}

std::int32_t FaultLibrary::Read(std::int32_t handle, void* buffer, std::uint32_t size) {
    return Strike(LibraryCall::Read) ? -1 : Inner().Read(handle, buffer, size);
}

std::int32_t FaultLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    return Strike(LibraryCall::Write) ? -1 : Inner().Write(handle, frame, length);
}

std::int32_t FaultLibrary::GetStats(std::int32_t handle, VnetxStatistics* record) {
    return Strike(LibraryCall::GetStats) ? -1 : Inner().GetStats(handle, record);
}

} // namespace vnxtest
