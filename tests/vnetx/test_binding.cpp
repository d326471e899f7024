// Choosing the library by name and binding it: against the real shared object, and what is none.

#include <fstream>

#include <gtest/gtest.h>

#include "vnetx/library_guest.h"
#include "vnetx/support_vnetx.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;

class Binding : public ::testing::Test {
protected:
    ~Binding() override { fs::current_path(m_before); }

    std::unique_ptr<VnetxLibrary> Open(const std::wstring& name) { return OpenVnetxLibrary(name, m_error); }
    // What is said when `name` cannot be had.
    std::wstring Refusal(const std::wstring& name) {
        EXPECT_FALSE(Open(name)) << ToUtf8(name);
        return m_error;
    }
    std::unique_ptr<VnetxLibrary> OpenSim(const char* options) {
        // Read by the shared object at its first use; each of these tests runs in a process of its own.
        SetEnvironment("VNETX_LIBRARY", options);
        return Open(kSharedLibraryName);
    }

    std::wstring m_error;
    const TemporaryFolder m_folder;
    const fs::path m_before = fs::current_path();
};

TEST_F(Binding, BuiltInLibrariesByName) {
    for (const auto& [name, module] : {std::pair{L"auto", L"built-in pcap"},
                                       {L"pcap", L"built-in pcap"},
                                       {L"tun", L"built-in tun"},
                                       {L"sim:", L"built-in sim"},
                                       {L"SIM:loss=5", L"built-in sim"}}) {
        const auto library = Open(name);
        ASSERT_TRUE(library) << ToUtf8(m_error);
        EXPECT_EQ(library->ModuleName(), module);
        EXPECT_EQ(library->ModulePath(), L"");
    }
    EXPECT_EQ(dynamic_cast<SimLibrary&>(*Open(L"sim:loss=5,seed=7")).Options().loss, 5);
    EXPECT_THAT(Refusal(L"sim:loss=101"), HasSubstr(L"\"loss\""));
    for (const std::wstring name : {L"", L"npcap", L"sim=5", L"auto:x", L"pcap "}) {
        EXPECT_THAT(Refusal(name), HasSubstr(L"There is no interface library \"" + name + L"\""));
        for (const wchar_t* known : {L"auto", L"pcap", L"tun", L"sim", L"shared library"}) {
            EXPECT_THAT(m_error, HasSubstr(known));
        }
    }
}

TEST_F(Binding, TheWholeContractWorksThroughTheSharedLibrary) {
    const auto library = OpenSim("sim:dup=100,mtu=600");
    ASSERT_TRUE(library) << ToUtf8(m_error);
    EXPECT_EQ(library->ModuleName(), kSharedLibraryName);
    EXPECT_TRUE(fs::path(library->ModulePath()).is_absolute());
    EXPECT_TRUE(fs::equivalent(library->ModulePath(), fs::path(kProgramFolder) / kSharedLibraryName));
    std::int32_t numbers[4] = {};
    library->VersionNumbers(&numbers[0], &numbers[1], &numbers[2], &numbers[3]);
    EXPECT_EQ(std::to_string(numbers[0]) + "." + std::to_string(numbers[1]) + "." +
                  std::to_string(numbers[2]) + "." + std::to_string(numbers[3]),
              library->VersionString());
    EXPECT_STRNE(library->CopyrightString(), "");
    EXPECT_STREQ(library->GetDefaultIface(), "02-56-4E-12-00-01");
    const std::uint8_t words[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};
    EXPECT_EQ(library->CalcInetChecksum(words, sizeof words), 0x220D); // the example of RFC 1071
    std::uint8_t mac[6] = {};
    library->BuildVantIfaceMac(mac, Ipv4Address(192, 168, 1, 255).Bytes().data());
    EXPECT_EQ(LoadMac(mac), MacAddress({0x02, 0x00, 0x5E, 0xA8, 0x01, 0xFF}));

    EXPECT_NE(library->SetDebugOutputFunc(&DebugText::Collect), 0);
    LibraryGuest guest(*library, {.tap = true, .timeout = 50});
    EXPECT_EQ(guest.Set(VNETX_TUNSETDEBUG, VNETX_DEBUG_ARP_READ), 0);
    EXPECT_EQ(guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG), 0);
    guest.Ping(kSimFirstEchoHost, 1);
    const auto replies = guest.ReadReplies();
    EXPECT_EQ(replies.answered, 1);
    EXPECT_EQ(replies.extra, 1);
    EXPECT_THAT(DebugText::Take(), HasSubstr("ARP operation 1"));
    EXPECT_EQ(guest.Statistics().packetsWritten, 2);
    // Failures come through with their errno.
    EXPECT_EQ(ErrorOf(guest.Ping(kSimFirstEchoHost, 2, 600)), EMSGSIZE);
    EXPECT_EQ(ErrorOf(library->Open("10.9.9.9", VNETX_OPEN_READ_WRITE)), ENODEV);
    EXPECT_EQ(guest.Set(0x1234, 0), EINVAL);
    const std::int32_t handle = guest.Handle();
    guest.Close();
    VnetxStatistics statistics{};
    EXPECT_EQ(ErrorOf(library->GetStats(handle, &statistics)), EBADF);
}

TEST_F(Binding, ARefusedChoiceOfTheSharedLibraryIsToldAndOpensNothing) {
    const auto library = OpenSim("sim:loss=200");
    ASSERT_TRUE(library) << ToUtf8(m_error);
    DebugText::Take();
    EXPECT_EQ(library->SetDebugOutputFunc(&DebugText::Collect), 0);
    EXPECT_THAT(DebugText::Take(), HasSubstr("\"loss\""));
    EXPECT_EQ(ErrorOf(library->Open("198.18.0.1", VNETX_OPEN_READ_WRITE)), EINVAL);
}

TEST_F(Binding, WhatCannotBeBoundIsSaidInWordsAndNotReplacedByAnotherLibrary) {
    EXPECT_THAT(Refusal(kLackingLibraryName),
                AllOf(HasSubstr(L"vnetx32_get_stats, vnetx32_copyright_string"),
                      HasSubstr(kLackingLibraryName), Not(HasSubstr(L"vnetx32_open"))));
    EXPECT_THAT(Refusal(L"NoSuchLibrary64.so"), // and where it looked
                AllOf(HasSubstr(L"\"NoSuchLibrary64.so\" was not found"),
                      HasSubstr(fs::path(kProgramFolder).wstring())));
    EXPECT_THAT(Refusal((m_folder.path / "none" / "x.so").wstring()), HasSubstr(L"was not found"));
    const fs::path file = m_folder.path / "text.so";
    std::ofstream(file) << "This is no library.\n";
    EXPECT_THAT(Refusal(file.wstring()), HasSubstr(L"could not be loaded: "));
    EXPECT_NE(Refusal(m_folder.path.wstring()), L"") << "a folder";
}

TEST_F(Binding, TheCurrentFolderIsNotSearchedButARelativePathIsTaken) {
    fs::copy_file(fs::path(kProgramFolder) / kSharedLibraryName, m_folder.path / "Elsewhere64.so");
    fs::current_path(m_folder.path);
    EXPECT_THAT(Refusal(L"Elsewhere64.so"), HasSubstr(L"was not found")) << "a name without a folder";
    const auto library = Open(L"./Elsewhere64.so");
    ASSERT_TRUE(library) << ToUtf8(m_error);
    EXPECT_TRUE(fs::path(library->ModulePath()).is_absolute());
    EXPECT_EQ(library->ModuleName(), L"Elsewhere64.so");
}

} // namespace
} // namespace vnxtest
