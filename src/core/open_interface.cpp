#include "core/open_interface.h"

#include <utility>

namespace vnxtest {

std::int32_t OpenInterface::Open(VnetxLibrary& library, const char* device, std::int32_t flags) {
    Close();
    m_library = &library;
    m_opened = library.Open(device, flags);
    return m_opened;
}

void OpenInterface::SetName(std::wstring name) {
    const std::lock_guard lock(m_nameLock);
    m_name = std::move(name);
}

void OpenInterface::Publish() {
    const std::lock_guard lock(m_handleLock);
    m_published.store(m_opened, std::memory_order_release);
}

void OpenInterface::Close() {
    const std::int32_t opened = std::exchange(m_opened, kNone);
    if (opened < 0) {
        return;
    }
    {
        const std::lock_guard lock(m_handleLock);
        m_published = kNone;
    }
    m_library->Close(opened);
}

std::wstring OpenInterface::NameCopy() {
    const std::lock_guard lock(m_nameLock);
    return m_name;
}

void OpenInterface::WithHandle(const std::function<void(std::int32_t)>& wake) {
    const std::lock_guard lock(m_handleLock);
    if (m_published >= 0) {
        wake(m_published);
    }
}

} // namespace vnxtest
