// The rights that opening a virtual interface takes, how a user is given them, and how they are given
// up again once they have done their work.
#pragma once

#include <optional>
#include <string>

namespace vnxtest {

enum class Privilege {
    Capture,               // to read and write frames of an adapter: CAP_NET_RAW; administrator on Windows
    NetworkAdministration, // to make network devices: CAP_NET_ADMIN; administrator on Windows
};

// This process has the right. Any thread.
bool HasPrivilege(Privilege privilege);

// Why this program does not run as it was started: its file has rights that its user has not (capabilities,
// set-user-ID, set-group-ID), which a user's own code would get through it, too. Whole sentences with the
// commands that mend it. Nullopt when it may run: nobody's rights are greater than his own, ambient
// capabilities among them, which whoever gives them means for every program. As the first thing in main.
std::optional<std::wstring> WhyNotWithRightsOfItsFile();

// Something that takes the right can be opened: by this process, or for it by the helper `vnxtest-open`.
// Any thread.
bool MayOpen(Privilege privilege);

// Whole sentences that say what is missing for MayOpen and the exact command that grants it: to the helper,
// never to the programs.
std::wstring HowToGrant(Privilege privilege);

// What a running guest may still have to be allowed.
struct KeptPrivileges {
    bool network = false; // to open interfaces again
    bool files = false;   // as root, to save a file where root's own rights do not reach
};

// Gives up, in every thread of this process, every capability but those kept (capabilities(7)), from the
// permitted set, so that none can be taken up again, and asks the kernel of every thread whether it is so.
// False, with a sentence in `problem`, when a thread holds more after a second (one that blocks every signal
// cannot be reached) or the kernel does not tell: the program must not go on then. Threads that run now are
// meant; those they start have no more than they. True on Windows without doing anything: a token's rights
// stay. One call at a time.
bool GiveUpPrivileges(const KeptPrivileges& kept, std::wstring& problem);

} // namespace vnxtest
