// What is open of one interface of the guest: the handle that the library gave, closed with this object at
// the latest.
//
// The monitor thread opens and closes. It publishes the handle when everything else is in place, and
// withdraws it before it is closed; others use the interface by the handle that is published.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "vnetx/library.h"

namespace vnxtest {

class OpenInterface {
public:
    OpenInterface() = default;
    OpenInterface(const OpenInterface&) = delete;
    OpenInterface& operator=(const OpenInterface&) = delete;
    ~OpenInterface() { Close(); }

    // The monitor thread's.

    // Opens the interface of the host adapter `device` (VnetxLibrary::Open) and returns its handle, which
    // nobody else sees yet; or a negative value with errno set. `library` outlives what is open.
    std::int32_t Open(VnetxLibrary& library, const char* device, std::int32_t flags);
    // The library's name of the interface. It is kept when the interface is closed.
    void SetName(std::wstring name);
    const std::wstring& Name() const { return m_name; }
    // Publishes the handle, with everything set up before it.
    void Publish();
    // Withdraws the handle, then closes it. No effect if nothing is open.
    void Close();

    // Any thread's.

    // The published handle; -1 if there is none.
    std::int32_t Handle() const { return m_published.load(std::memory_order_acquire); }
    std::wstring NameCopy();
    // Calls `wake` with the handle if one is published; it stays open meanwhile. A monitor thread that
    // publishes its handle later sees what the caller did before, such as setting the stop event.
    void WithHandle(const std::function<void(std::int32_t)>& wake);

private:
    static constexpr std::int32_t kNone = -1;

    VnetxLibrary* m_library = nullptr; // of what is open
    std::int32_t m_opened = kNone;
    std::atomic<std::int32_t> m_published{kNone};
    std::mutex m_handleLock; // publishing and withdrawing; no function of the library is called under it
    std::wstring m_name;     // written under the lock
    std::mutex m_nameLock;
};

} // namespace vnxtest
