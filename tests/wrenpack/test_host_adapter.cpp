#include <gtest/gtest.h>

#include "wrenpack/host_adapter.h"
#include "wrenpack/offload_settings.h"

namespace vnxtest {
namespace {

TEST(HostAdapter, IsNamedByAPrefixAndItsIdentifier) {
    EXPECT_EQ(DriverNameOf(L"eth0"), L"NPF_eth0");
    EXPECT_EQ(IdentifierOf(DriverNameOf(L"eth0")), L"eth0");
    EXPECT_EQ(IdentifierOf(L"ABC_{1}"), L"{1}") << "whatever the prefix of a library is";
    for (const wchar_t* name : {L"", L"NPF", L"NPF_"}) {
        EXPECT_EQ(IdentifierOf(name), L"");
        EXPECT_EQ(GetAdapterLSOFlags(name), 0);
    }
    EXPECT_EQ(GetAdapterLSOFlags(L"NPF_no-such-adapter-here"), 0);
}

} // namespace
} // namespace vnxtest
