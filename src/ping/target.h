// Resolving a ping target: a host name or a dotted address to one IPv4 address.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "wrenlib/address.h"
#include "wrenlib/failure.h"

namespace vnxtest {

// Resolves `name` (getaddrinfo, IPv4 only; a dotted address resolves to itself): the first address, or a
// failure with the system's text. Blocks for as long as the system's resolver does. Any thread.
Result<Ipv4Address> ResolveTarget(std::wstring_view name);

// The check of the target field: an empty target fails without resolving. A failure's text is the whole
// message to show ("Please enter a valid IP address or name.", after the system's text if any).
Result<Ipv4Address> ValidateTarget(std::wstring_view name);

// ValidateTarget on a thread of its own, so that its caller can go on, or give it up.
class TargetLookup {
public:
    // `onEnd` is called on the look-up's thread, under its lock, when the result is ready, and not after
    // the destructor: it must not call this object. Throws std::system_error, as std::thread does, if the
    // thread cannot be made.
    TargetLookup(std::wstring name, std::function<void()> onEnd);
    // Does not wait: the detached thread goes on until the system's resolver returns.
    ~TargetLookup();
    TargetLookup(const TargetLookup&) = delete;
    TargetLookup& operator=(const TargetLookup&) = delete;

    bool IsOver() const;
    // The result of ValidateTarget. Only if IsOver().
    Result<Ipv4Address> Answer() const;

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace vnxtest
