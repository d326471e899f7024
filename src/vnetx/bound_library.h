// A virtual interface library outside the program: a shared library that exports the contract of
// vnetx.h, bound by name when the program runs.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "vnetx/library.h"

namespace vnxtest {

// Loads the shared library `name` (a path, or a file name that is looked for in the program's own
// folder and in the system's library folders) and binds every operation of the contract. Not null; a
// failure's text is whole sentences: where it was looked for, the system's text, or every missing
// export by name. The library is unloaded with the object; a debug output function cannot be taken back
// from it.
Result<std::unique_ptr<VnetxLibrary>> BindVnetxLibrary(std::wstring_view name);

} // namespace vnxtest
