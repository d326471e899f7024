// Choosing the library by name and binding it: the real shared object, and files that are none.

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>

#include <gmock/gmock.h>

#include "vnetx/sim/sim.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf, ::testing::HasSubstr, ::testing::Not;

// Supplied by the build: where the test program and the shared libraries lie.
const fs::path kProgramFolder = VNXTEST_PROGRAM_FOLDER;
constexpr const wchar_t* kSharedLibraryName = L"" VNXTEST_SHARED_LIBRARY;
constexpr const wchar_t* kLackingLibraryName = L"" VNXTEST_LACKING_LIBRARY;

// The debug output of a library.
struct DebugText {
    static void Collect(const char* text, ...) { s_text += text; }
    // What came since the last call.
    static std::string Take() { return std::exchange(s_text, {}); }
    static inline std::string s_text;
};

class Binding : public ::testing::Test {
protected:
    Binding() { fs::create_directory(m_folder); }
    ~Binding() override {
        fs::current_path(m_before);
        fs::remove_all(m_folder);
    }

    // Null, with the reason in m_error, when it cannot be had.
    std::unique_ptr<VnetxLibrary> Open(const std::wstring& name) {
        auto library = OpenVnetxLibrary(name);
        m_error = library ? L"" : library.error().Describe();
        return library ? std::move(*library) : nullptr;
    }
    // What is said when `name` cannot be had.
    std::wstring Refusal(const std::wstring& name) {
        EXPECT_FALSE(Open(name)) << ToUtf8(name);
        return m_error;
    }
    // The argument must stay in memory. It is read by the shared object at its first use; each of these tests
    // runs in a process of its own.
    std::unique_ptr<VnetxLibrary> OpenSim(char* environment) {
        putenv(environment);
        return Open(kSharedLibraryName);
    }

    std::wstring m_error;
    const fs::path m_folder =
        fs::temp_directory_path() / ("vnxtest-binding-" + std::to_string(std::random_device()()));
    const fs::path m_before = fs::current_path();
};

TEST_F(Binding, BuiltInLibrariesByName) {
    // On Windows the package's library comes first, and ours of the same name lies beside this program.
    const bool package = fs::exists(kProgramFolder / "Vnetx64UD.dll");
    for (const auto& [name, module] : {std::pair{L"auto", package ? L"Vnetx64UD.dll" : L"built-in pcap"},
                                       {L"pcap", L"built-in pcap"},
                                       {L"sim:", L"built-in sim"},
                                       {L"SIM:loss=5", L"built-in sim"}}) {
        const auto library = Open(name);
        ASSERT_TRUE(library) << ToUtf8(m_error);
        EXPECT_EQ(library->ModuleName(), module);
        EXPECT_EQ(library->ModulePath().empty(), std::wstring_view(module).starts_with(L"built-in"));
    }
    EXPECT_EQ(dynamic_cast<SimLibrary&>(*Open(L"sim:loss=5,seed=7")).Options().loss, 5);
    for (const std::wstring name : {L"", L"npcap", L"sim=5", L"auto:x", L"pcap "}) {
        EXPECT_THAT(Refusal(name), AllOf(HasSubstr(L"There is no interface library \"" + name + L"\""),
                                         HasSubstr(L"auto"), HasSubstr(L"shared library")));
    }
}

TEST_F(Binding, TheSharedLibraryIsBoundByName) {
    static char environment[] = "VNETX_LIBRARY=sim";
    const auto library = OpenSim(environment);
    ASSERT_TRUE(library) << ToUtf8(m_error);
    EXPECT_EQ(library->ModuleName(), kSharedLibraryName);
    EXPECT_TRUE(fs::equivalent(library->ModulePath(), kProgramFolder / kSharedLibraryName));
    EXPECT_STREQ(library->GetDefaultIface(), "02-56-4E-12-00-01");
    const std::uint8_t words[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};
    EXPECT_EQ(library->CalcInetChecksum(words, sizeof words), 0x220D); // the example of RFC 1071
    std::uint8_t mac[6] = {};
    library->BuildVantIfaceMac(mac, Ipv4Address(192, 168, 1, 255).Bytes().data());
    EXPECT_EQ(MacAddress(std::to_array(mac)), MacAddress({0x02, 0x00, 0x5E, 0xA8, 0x01, 0xFF}));

    // Failures come through with their errno.
    EXPECT_LT(library->Open("10.9.9.9", VNETX_OPEN_READ_WRITE), 0);
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(Binding, ARefusedChoiceOfTheSharedLibraryIsToldAndOpensNothing) {
    static char environment[] = "VNETX_LIBRARY=sim:loss=200";
    const auto library = OpenSim(environment);
    ASSERT_TRUE(library) << ToUtf8(m_error);
    DebugText::Take();
    EXPECT_EQ(library->SetDebugOutputFunc(&DebugText::Collect), 0);
    EXPECT_THAT(DebugText::Take(), HasSubstr("\"loss\""));
    EXPECT_LT(library->Open("198.18.0.1", VNETX_OPEN_READ_WRITE), 0);
    EXPECT_EQ(errno, EINVAL);
}

#ifndef _WIN32
TEST_F(Binding, ALibraryIsNeverGivenANullCallback) {
    DebugText::Take();
    {
        const auto library = Open(L"Strict64UD.so");
        ASSERT_TRUE(library) << ToUtf8(m_error);
        EXPECT_EQ(library->SetDebugOutputFunc(&DebugText::Collect), 1);
        EXPECT_EQ(library->SetDebugOutputFunc(nullptr), 0);
    } // it would abort
    EXPECT_EQ(DebugText::Take(), "taken\n");
}
#endif

TEST_F(Binding, WhatCannotBeBoundIsSaidInWordsAndNotReplacedByAnotherLibrary) {
    EXPECT_THAT(Refusal(kLackingLibraryName),
                AllOf(HasSubstr(L"vnetx32_get_stats, vnetx32_copyright_string"),
                      HasSubstr(kLackingLibraryName), Not(HasSubstr(L"vnetx32_open"))));
    EXPECT_THAT(Refusal(L"NoSuchLibrary64.so"), // and where it looked
                AllOf(HasSubstr(L"\"NoSuchLibrary64.so\" was not found"),
                      HasSubstr(fs::absolute(kProgramFolder).make_preferred().wstring())));
    const fs::path file = m_folder / "text.so";
    std::ofstream(file) << "This is no library.\n";
    EXPECT_THAT(Refusal(file.wstring()), HasSubstr(L"could not be loaded: "));
    EXPECT_NE(Refusal(m_folder.wstring()), L"") << "a folder";
}

TEST_F(Binding, TheCurrentFolderIsNotSearchedButARelativePathIsTaken) {
    fs::copy_file(kProgramFolder / kSharedLibraryName, m_folder / "Elsewhere64.so");
    fs::current_path(m_folder);
    EXPECT_THAT(Refusal(L"Elsewhere64.so"), HasSubstr(L"was not found")) << "a name without a folder";
    const auto library = Open(L"./Elsewhere64.so");
    ASSERT_TRUE(library) << ToUtf8(m_error);
    EXPECT_TRUE(fs::path(library->ModulePath()).is_absolute());
    EXPECT_EQ(library->ModuleName(), L"Elsewhere64.so");
}

} // namespace
} // namespace vnxtest
