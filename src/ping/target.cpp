#include "ping/target.h"

#include <mutex>
#include <system_error>
#include <thread>

#include "platform/network/resolver.h"
#include "platform/process/thread.h"

namespace vnxtest {

bool ResolveTarget(std::wstring_view name, Ipv4Address& address, std::wstring& errorText) {
    return ResolveIpv4Name(name, address, errorText);
}

bool ValidateTarget(std::wstring_view name, Ipv4Address& address, std::wstring& message) {
    message = L"Please enter a valid IP address or name.";
    if (name.empty()) {
        return false;
    }
    std::wstring errorText;
    if (ResolveTarget(name, address, errorText)) {
        message.clear();
        return true;
    }
    message = errorText + L"\n" + message;
    return false;
}

struct TargetLookup::State {
    std::mutex lock; // guards what follows
    std::function<void()> onEnd;
    bool over = false;
    bool valid = false;
    Ipv4Address address;
    std::wstring message;
};

TargetLookup::TargetLookup(std::wstring name, std::function<void()> onEnd)
    : m_state(std::make_shared<State>()) {
    m_state->onEnd = std::move(onEnd);
    const auto lookUp = [state = m_state, name = std::move(name)] {
        Ipv4Address address;
        std::wstring message;
        const bool valid = ValidateTarget(name, address, message);
        const std::lock_guard lock(state->lock);
        state->valid = valid;
        state->address = address;
        state->message = std::move(message);
        state->over = true;
        if (state->onEnd) {
            state->onEnd();
        }
    };
    try {
        const StopSignalsHeldBack held; // they belong to the stop-signal watcher
        std::thread(lookUp).detach();
    } catch (const std::system_error& failure) {
        throw std::system_error(failure.code(), "pthread_create");
    }
}

TargetLookup::~TargetLookup() {
    const std::lock_guard lock(m_state->lock);
    m_state->onEnd = nullptr;
}

bool TargetLookup::IsOver() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->over;
}

bool TargetLookup::Result(Ipv4Address& address, std::wstring& message) const {
    const std::lock_guard lock(m_state->lock);
    address = m_state->address;
    message = m_state->message;
    return m_state->valid;
}

} // namespace vnxtest
