// Choosing a library by name.

#include <gtest/gtest.h>

#include "vnetx/builtin.h"
#include "vnetx/library.h"
#include "vnetx/sim.h"
#include "vnetx/support_vnetx.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

TEST(OpenLibrary, BuiltInLibrariesByName) {
    std::wstring error;
    for (const auto& [name, module] : {std::pair{L"auto", L"built-in pcap"},
                                       {L"pcap", L"built-in pcap"},
                                       {L"tun", L"built-in tun"},
                                       {L"sim", L"built-in sim"},
                                       {L"sim:", L"built-in sim"},
                                       {L"SIM:loss=5", L"built-in sim"}}) {
        const auto library = OpenVnetxLibrary(name, error);
        ASSERT_TRUE(library) << ToUtf8(error);
        EXPECT_EQ(library->ModuleName(), module);
        EXPECT_EQ(library->ModulePath(), L"");
    }
}

TEST(OpenLibrary, OptionsReachTheSimulatedLan) {
    std::wstring error;
    const auto library = OpenVnetxLibrary(L"sim:loss=5,delay=20,jitter=5,dup=2,late=1,seed=7", error);
    auto* const sim = dynamic_cast<SimLibrary*>(library.get());
    ASSERT_TRUE(sim);
    EXPECT_EQ(sim->Options().loss, 5);
    EXPECT_EQ(sim->Options().delay, 20);
    EXPECT_EQ(sim->Options().jitter, 5);
    EXPECT_EQ(sim->Options().dup, 2);
    EXPECT_EQ(sim->Options().late, 1);
    EXPECT_EQ(sim->Options().seed, 7u);
}

TEST(OpenLibrary, RefusalsSayWhatIsThere) {
    std::wstring error;
    for (const wchar_t* name : {L"", L"npcap", L"simulator", L"sim=5", L"auto:x", L"pcap "}) {
        EXPECT_FALSE(OpenVnetxLibrary(name, error));
        EXPECT_NE(error.find(L"There is no interface library \"" + std::wstring(name) + L"\""),
                  std::wstring::npos);
        for (const wchar_t* known : {L"auto", L"pcap", L"tun", L"sim", L"shared library"}) {
            EXPECT_NE(error.find(known), std::wstring::npos) << ToUtf8(error);
        }
    }
    EXPECT_FALSE(OpenVnetxLibrary(L"sim:loss=101", error));
    EXPECT_NE(error.find(L"\"loss\""), std::wstring::npos);
}

TEST(OpenLibrary, AFileNameIsBoundAndNeverReplacedByAnotherLibrary) {
    std::wstring error;
    EXPECT_FALSE(OpenVnetxLibrary(L"Absent64UD.so", error));
    EXPECT_NE(error.find(L"was not found"), std::wstring::npos);
    EXPECT_FALSE(OpenVnetxLibrary(kLackingLibraryName, error));
    EXPECT_NE(error.find(L"vnetx32_get_stats"), std::wstring::npos);
    const auto library = OpenVnetxLibrary(kSharedLibraryName, error);
    ASSERT_TRUE(library) << ToUtf8(error);
    EXPECT_NE(library->ModulePath(), L"");
}

} // namespace

} // namespace vnxtest
