// What a user of this system can do about what the report warns of.
#pragma once

#include <string>

namespace vnxtest {

// Whole sentences for the boxed warnings of the report; each names commands or settings of this very
// system.
struct HostAdvice {
    std::wstring noAdapters;     // the host has no adapter
    std::wstring virtualAdapter; // what serves in place of one
    std::wstring driverMissing;  // the packet driver is not there
    std::wstring openFailed;     // an adapter could not be opened: rights, link, driver
    std::wstring lsoOff;         // how to switch segmentation offload off; %s is the adapter
};

HostAdvice GetHostAdvice();

} // namespace vnxtest
