// The simulated LAN as a library.
#pragma once

#include <gtest/gtest.h>

#include "vnetx/sim/sim.h"

namespace vnxtest {

inline std::unique_ptr<SimLibrary> Lan(std::wstring_view options = L"") {
    auto library = MakeSimLibrary(options);
    EXPECT_TRUE(library) << ::testing::PrintToString(std::wstring(options));
    return std::move(*library);
}

} // namespace vnxtest
