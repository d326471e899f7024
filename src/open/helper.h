// Where the helper `vnxtest-open` is, and whether it can open anything for this program.
#pragma once

#include <string>

namespace vnxtest {

enum class HelperState {
    Ready,
    Missing,     // no such file
    NotAllowed,  // this user may not run it: it is for a group
    LacksRights, // the file has not been given the rights it needs
    Powerless,   // it has, but no program gains them here: no_new_privs, nosuid, a container without them
};

// Beside the program's own file, else where the package puts it; beside the program if it is in neither
// place. No search path is used. Any thread.
std::string HelperPath();

HelperState StateOfHelper(const std::string& path);

// The program's own file; empty if it is not known. Any thread.
std::string ProgramPath();

// `text` as one word of a shell command.
std::string Quoted(const std::string& text);

// The command that gives the helper its rights, as one line of a shell.
std::string HelperCommand(const std::string& path);

// What to do so that the helper can open something: sentences, and a command or a path on a line of its
// own. Empty if it is ready.
std::string HowToReadyHelper(const std::string& path);

} // namespace vnxtest
