// The part of the choice of a library that depends on the platform. Any thread.
#pragma once

#include <memory>
#include <string>

#include "vnetx/library.h"

namespace vnxtest {

// The library that "auto" stands for here. Not null; a failure's text is whole sentences.
Result<std::unique_ptr<VnetxLibrary>> OpenAutoLibrary();

// The built-in `tun` library, not null; where there is none a failure whose text says so.
Result<std::unique_ptr<VnetxLibrary>> OpenTunLibrary();

// The names that can be chosen here, as the sentence that follows a refusal.
std::wstring KnownLibraries();

} // namespace vnxtest
