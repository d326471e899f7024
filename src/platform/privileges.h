// The rights that opening a virtual interface takes, and how a user is given them.
#pragma once

#include <string>

namespace vnxtest {

enum class Privilege {
    Capture,               // to read and write frames of an adapter: CAP_NET_RAW; administrator on Windows
    NetworkAdministration, // to make network devices: CAP_NET_ADMIN; administrator on Windows
};

// This process has the right. Any thread.
bool HasPrivilege(Privilege privilege);

// Whole sentences that say which right is missing and the exact command that grants it to this program.
std::wstring HowToGrant(Privilege privilege);

} // namespace vnxtest
