// Advice for the report's warnings, for a user of this system. Any thread.
#pragma once

#include <string>

namespace vnxtest {

// Whole sentences for the boxed warnings of the report, with commands or settings of this system.
struct HostAdvice {
    std::wstring noAdapters;     // the host has no adapter
    std::wstring virtualAdapter; // a substitute for one
    std::wstring driverMissing;  // the packet driver is missing
    std::wstring openFailed;     // an adapter could not be opened: rights, link, driver
    std::wstring lsoOff;         // how to switch segmentation offload off; %s is the adapter
};

HostAdvice GetHostAdvice();

} // namespace vnxtest
