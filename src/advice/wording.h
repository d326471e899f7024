// The parts that the sentences of several rules have in common.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "advice/observations.h"

namespace vnxtest {

// "1 echo request", "3 echo requests", "3 echo replies".
std::wstring Counted(std::uint64_t count, std::wstring_view noun);
// "the guest"; with two interfaces in use "the guest's interface 2".
std::wstring NameOfGuest(const Observations& observations, const InterfaceObservations& guest);
// "10.1.2.3", "10.1.2.3 and 10.1.2.4", "10.1.2.3, 10.1.2.4 and 10.1.2.5".
std::wstring Enumerated(const std::vector<Ipv4Address>& addresses);
std::vector<std::wstring> TextsOf(const std::vector<Ipv4Address>& addresses);

} // namespace vnxtest
