// A decorator that makes a chosen call of the library fail.
//
// It tests how the program handles failures: the right message, nothing left open. The calls that can fail
// are open, ioctl, read, write, statistics and close. A failing call does not reach the library, except
// close: its result means nothing, and a handle left open would be the decorator's fault.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>

#include "vnetx/failure.h"
#include "vnetx/forwarding_library.h"

namespace vnxtest {

enum class LibraryCall { Open, Ioctl, Read, Write, GetStats, Close };

// Which call fails, and how.
struct Fault {
    std::optional<LibraryCall> call{};      // counts only such calls; without it every call counts
    std::optional<std::uint32_t> request{}; // counts only ioctls with this request
    std::uint64_t number = 1;               // the first that counts is 1
    bool fromThenOn = false;                // that one and all that count after it
    int errnoValue = 5;                     // EIO
};

class FaultLibrary final : public ForwardingLibrary {
public:
    using ForwardingLibrary::ForwardingLibrary;

    // Counts from now on towards `fault`; without one nothing fails. Any thread, also while calls run.
    void Inject(const std::optional<Fault>& fault) {
        const std::lock_guard lock(m_mutex);
        m_fault = fault;
        m_counted = m_struck = 0;
    }
    // How often the fault has struck since it was injected.
    std::uint64_t Struck() const {
        const std::lock_guard lock(m_mutex);
        return m_struck;
    }
    // The handles that were opened and are not closed.
    std::set<std::int32_t> OpenHandles() const {
        const std::lock_guard lock(m_mutex);
        return m_openHandles;
    }

    std::int32_t Open(const char* name, std::int32_t flags) override {
        const std::int32_t handle = Strike(LibraryCall::Open) ? -1 : Inner().Open(name, flags);
        if (handle >= 0) {
            const std::lock_guard lock(m_mutex);
            m_openHandles.insert(handle);
        }
        return handle;
    }
    void Close(std::int32_t handle) override {
        {
            // Before the library forgets the handle: afterwards its number may be another's.
            const std::lock_guard lock(m_mutex);
            m_openHandles.erase(handle);
        }
        Inner().Close(handle);
        Strike(LibraryCall::Close);
    }
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override {
        return Strike(LibraryCall::Ioctl, request) ? -1 : Inner().Ioctl(handle, request, record);
    }
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override {
        return Strike(LibraryCall::Read) ? -1 : Inner().Read(handle, buffer, size);
    }
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override {
        return Strike(LibraryCall::Write) ? -1 : Inner().Write(handle, frame, length);
    }
    std::int32_t GetStats(std::int32_t handle, VnetxStatistics* record) override {
        return Strike(LibraryCall::GetStats) ? -1 : Inner().GetStats(handle, record);
    }

private:
    // Counts a call; true, with errno set, when it is one that fails.
    bool Strike(LibraryCall call, std::uint32_t request = 0) {
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

    mutable std::mutex m_mutex;
    std::set<std::int32_t> m_openHandles;
    std::optional<Fault> m_fault;
    std::uint64_t m_counted = 0;
    std::uint64_t m_struck = 0;
};

} // namespace vnxtest
