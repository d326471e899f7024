#include "ping/target.h"

#include <mutex>
#include <optional>
#include <thread>

#include "platform/network/resolver.h"
#include "platform/process/thread.h"

namespace vnxtest {

Result<Ipv4Address> ResolveTarget(std::wstring_view name) {
    return ResolveIpv4Name(name);
}

Result<Ipv4Address> ValidateTarget(std::wstring_view name) {
    constexpr wchar_t kAdvice[] = L"Please enter a valid IP address or name.";
    if (name.empty()) {
        return Refused(kAdvice);
    }
    auto address = ResolveTarget(name);
    if (!address) {
        Failure& failure = address.error();
        failure.text = failure.Describe() + L"\n" + kAdvice;
    }
    return address;
}

struct TargetLookup::State {
    std::mutex lock; // guards what follows
    std::function<void()> onEnd;
    std::optional<Result<Ipv4Address>> answer; // nullopt until it is over
};

TargetLookup::TargetLookup(std::wstring name, std::function<void()> onEnd)
    : m_state(std::make_shared<State>()) {
    m_state->onEnd = std::move(onEnd);
    const auto lookUp = [state = m_state, name = std::move(name)] {
        auto answer = ValidateTarget(name);
        const std::lock_guard lock(state->lock);
        state->answer.emplace(std::move(answer));
        if (state->onEnd) {
            state->onEnd();
        }
    };
    const StopSignalsHeldBack held; // they belong to the stop-signal watcher
    std::thread(lookUp).detach();
}

TargetLookup::~TargetLookup() {
    const std::lock_guard lock(m_state->lock);
    m_state->onEnd = nullptr;
}

bool TargetLookup::IsOver() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->answer.has_value();
}

Result<Ipv4Address> TargetLookup::Answer() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->answer.value();
}

} // namespace vnxtest
