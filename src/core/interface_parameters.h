// What is asked for of one interface of the guest: the texts as the profile keeps them and the parameters
// dialog or the options change them. A plain value.
#pragma once

#include <string>

namespace vnxtest {

struct InterfaceParameters {
    bool tapMode = false;
    std::wstring guestIpText;
    std::wstring guestMacText;
    std::wstring adapterIpText;
    std::wstring adapterMacText;

    // True when a host adapter is named (interface 2 is in use only then).
    bool NamesAdapter() const { return !adapterIpText.empty() || !adapterMacText.empty(); }
};

} // namespace vnxtest
