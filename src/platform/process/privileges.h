// The rights needed to open a virtual interface, how to grant them, and how to give them up after use.
#pragma once

#include <string>

#include "wrenlib/failure.h"

namespace vnxtest {

enum class Privilege {
    Capture,               // to read and write frames of an adapter: CAP_NET_RAW; administrator on Windows
    NetworkAdministration, // to make network devices: CAP_NET_ADMIN; administrator on Windows
};

// True if this process has the right. Any thread.
bool HasPrivilege(Privilege privilege);

// Refuses to run with rights that the user lacks but the program's file has (capabilities, set-user-ID,
// set-group-ID): the user's own code, loaded into the program, would get them. A failure's text is whole
// sentences with the commands that mend it. Ambient capabilities are the user's own. Called first in main.
Result<void> CheckRightsOfItsFile();

// True if this process, or the helper `vnxtest-open` for it, can open what needs the right. Any thread.
bool MayOpen(Privilege privilege);

// Whole sentences: what MayOpen lacks, and the exact command that grants it, to the helper, never to the
// programs. Any thread.
std::wstring HowToGrant(Privilege privilege);

// The rights that a running guest may still need.
struct KeptPrivileges {
    bool network = false; // to open interfaces again
    bool files = false;   // as root, to save a file where root's own rights do not reach
};

// Gives up, in every thread of this process, all capabilities but those kept (capabilities(7)), from the
// permitted set, so that none can be raised again, and verifies every thread with the kernel. A failure,
// whose text is a sentence, if a thread holds more after a second (one that blocks every signal cannot be
// reached) or the kernel does not tell: the program must not go on then. Threads started later inherit what
// is left. No effect on Windows: a token's rights stay. Blocks; one call at a time.
Result<void> GiveUpPrivileges(const KeptPrivileges& kept);

} // namespace vnxtest
