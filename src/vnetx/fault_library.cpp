#include "vnetx/fault_library.h"

#include <numeric>

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

std::uint64_t FaultLibrary::Calls() const {
    const std::lock_guard lock(m_mutex);
    return std::accumulate(m_calls.begin(), m_calls.end(), std::uint64_t{0});
}

std::uint64_t FaultLibrary::Calls(LibraryCall call) const {
    const std::lock_guard lock(m_mutex);
    return m_calls[static_cast<std::size_t>(call)];
}

std::uint64_t FaultLibrary::Requests(std::uint32_t request) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_requests.find(request);
    return found == m_requests.end() ? 0 : found->second;
}

std::set<std::int32_t> FaultLibrary::OpenHandles() const {
    const std::lock_guard lock(m_mutex);
    return m_openHandles;
}

std::optional<std::int32_t> FaultLibrary::Strike(LibraryCall call, std::uint32_t request) {
    const std::lock_guard lock(m_mutex);
    ++m_calls[static_cast<std::size_t>(call)];
    if (call == LibraryCall::Ioctl) {
        ++m_requests[request];
    }
    if (!m_fault || (m_fault->call && *m_fault->call != call) ||
        (m_fault->request && (call != LibraryCall::Ioctl || *m_fault->request != request))) {
        return std::nullopt;
    }
    ++m_counted;
    if (m_fault->fromThenOn ? m_counted < m_fault->number : m_counted != m_fault->number) {
        return std::nullopt;
    }
    ++m_struck;
    Fail(m_fault->errnoValue);
    return m_fault->result;
}

std::int32_t FaultLibrary::Open(const char* name, std::int32_t flags) {
    if (const auto result = Strike(LibraryCall::Open)) {
        return *result;
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
    const auto result = Strike(LibraryCall::Ioctl, request);
    return result ? *result : Inner().Ioctl(handle, request, record);
}

std::int32_t FaultLibrary::Read(std::int32_t handle, void* buffer, std::uint32_t size) {
    const auto result = Strike(LibraryCall::Read);
    return result ? *result : Inner().Read(handle, buffer, size);
}

std::int32_t FaultLibrary::Write(std::int32_t handle, const void* frame, std::uint32_t length) {
    const auto result = Strike(LibraryCall::Write);
    return result ? *result : Inner().Write(handle, frame, length);
}

std::int32_t FaultLibrary::GetStats(std::int32_t handle, VnetxStatistics* record) {
    const auto result = Strike(LibraryCall::GetStats);
    return result ? *result : Inner().GetStats(handle, record);
}

} // namespace vnxtest
