// Which interfaces a guest uses. User-interface thread.
#pragma once

#include <array>

#include "guest/guest.h"

namespace vnxtest {

// The records of the interfaces that are bound to an adapter, or were in the guest's last run; the others are
// null.
inline std::array<const INTERFACE_INFO*, 2> InterfacesInUse(const Guest& guest) {
    std::array<const INTERFACE_INFO*, 2> inUse{};
    for (int index = 0; const INTERFACE_INFO*& info : inUse) {
        const INTERFACE_INFO& each = guest.Interface(index++);
        info = each.asked.NamesAdapter() ? &each : nullptr;
    }
    return inUse;
}

} // namespace vnxtest
