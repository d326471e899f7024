// What the choice of a library depends on the platform for.
#pragma once

#include <memory>
#include <string>

#include "vnetx/library.h"

namespace vnxtest {

// The library that "auto" stands for here. Null and whole sentences in `error` on failure.
std::unique_ptr<VnetxLibrary> OpenAutoLibrary(std::wstring& error);

// The built-in `tun` library; null and a sentence in `error` where there is none.
std::unique_ptr<VnetxLibrary> OpenTunLibrary(std::wstring& error);

// The names that can be chosen here, as a sentence for whoever chose another.
std::wstring KnownLibraries();

} // namespace vnxtest
