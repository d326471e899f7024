#include "helpui/program_icons.h"

namespace vnxtest {

namespace {

// The name under which the program's resources hold packaging/icon/vnxtest.ico.
constexpr char kResource[] = "vnxtest_icon";

} // namespace

wxIconBundle ProgramIcons() {
    return wxIconBundle(kResource, nullptr);
}

} // namespace vnxtest
