// Whether the host answers ARP in the place of others (proxy ARP, RFC 1027).
#pragma once

#include <optional>
#include <string>

namespace vnxtest {

// On `adapter`, a name of the kernel's: the parameter of this adapter or of all (ip-sysctl, proxy_arp).
// Nullopt if the kernel does not tell. Not in the sandbox, which opens no files.
std::optional<bool> AnswersArpForOthers(const std::string& adapter);

} // namespace vnxtest
