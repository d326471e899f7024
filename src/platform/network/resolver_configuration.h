// The resolver configuration file (resolv.conf) as the C library reads it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

// The addresses of the "nameserver" lines of `text`, in order, IPv4 and IPv6 (with a scope, if it has one).
// Comments ("#", ";"), other keywords and texts that are no address are skipped (resolv.conf(5)). Any
// thread.
std::vector<std::string> ParseNameServers(std::string_view text);

} // namespace vnxtest
