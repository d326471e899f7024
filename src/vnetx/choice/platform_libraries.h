// The part of the choice of a library that depends on the platform. Any thread.
#pragma once

#include <memory>
#include <string>

#include "vnetx/library.h"

namespace vnxtest {

// The library that "auto" stands for here. Null on failure, with whole sentences in `error`.
std::unique_ptr<VnetxLibrary> OpenAutoLibrary(std::wstring& error);

// The built-in `tun` library; null with a sentence in `error` on a platform without one.
std::unique_ptr<VnetxLibrary> OpenTunLibrary(std::wstring& error);

// The names that can be chosen here, as the sentence that follows a refusal.
std::wstring KnownLibraries();

} // namespace vnxtest
