// Choosing a library by name, and binding one by name: against the real shared object, and against
// what is none.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "vnetx/sim_guest.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

namespace fs = std::filesystem;

std::unique_ptr<VnetxLibrary> BindSim(const char* options) {
    // Read by the shared object at its first use; each of these tests runs in a process of its own.
    setenv("VNETX_LIBRARY", options, 1);
    std::wstring error;
    auto library = OpenVnetxLibrary(kSharedLibraryName, error);
    return library ? std::move(library) : throw std::runtime_error(ToUtf8(error));
}

TEST(Binding, TheWholeContractWorksThroughTheSharedLibrary) {
    const auto library = BindSim("sim:dup=100,mtu=600");
    EXPECT_EQ(library->ModuleName(), kSharedLibraryName);
    EXPECT_TRUE(fs::equivalent(library->ModulePath(), fs::path(kProgramFolder) / kSharedLibraryName));
    std::int32_t numbers[4] = {};
    library->VersionNumbers(&numbers[0], &numbers[1], &numbers[2], &numbers[3]);
    EXPECT_EQ(std::to_string(numbers[0]) + "." + std::to_string(numbers[1]) + "." +
                  std::to_string(numbers[2]) + "." + std::to_string(numbers[3]),
              library->VersionString());
    EXPECT_STREQ(library->GetDefaultIface(), "02-56-4E-12-00-01");
    const std::uint8_t words[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};
    EXPECT_EQ(library->CalcInetChecksum(words, sizeof words), 0x220D); // the example of RFC 1071
    std::uint8_t mac[6] = {};
    library->BuildVantIfaceMac(mac, kFirstGuest.Bytes().data());
    EXPECT_EQ(LoadMac(mac), BuildGuestMac(kFirstGuest));
    EXPECT_NE(library->SetDebugOutputFunc(&TakeDebug), 0);

    SimGuest guest(*library, {.tap = true, .timeout = 50});
    guest.SetValue(VNETX_TUNSETDEBUG, VNETX_DEBUG_ARP_READ);
    guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG);
    guest.Ping(kSimFirstEchoHost, 1);
    EXPECT_EQ(guest.ReadReplies().extra, 1);
    EXPECT_NE(g_debugText.find("ARP operation 1"), std::string::npos);
    EXPECT_EQ(guest.Statistics().packetsWritten, 2);

    // Failures come through with their errno.
    EXPECT_TRUE(Fails(guest.Ping(kSimFirstEchoHost, 2, 573), EMSGSIZE));
    EXPECT_TRUE(Fails(library->Open("10.9.9.9", VNETX_OPEN_READ_WRITE), ENODEV));
    EXPECT_TRUE(Fails(guest.SetValue(0x1234, 0), EINVAL));
    library->SetDebugOutputFunc(nullptr);
}

TEST(Binding, ARefusedChoiceOfTheSharedLibraryIsToldAndOpensNothing) {
    const auto library = BindSim("sim:loss=200");
    g_debugText.clear();
    EXPECT_EQ(library->SetDebugOutputFunc(&TakeDebug), 0);
    EXPECT_NE(g_debugText.find("\"loss\""), std::string::npos);
    EXPECT_TRUE(Fails(library->Open("198.18.0.1", VNETX_OPEN_READ_WRITE), EINVAL));
}

TEST(Binding, WhatCannotBeBoundIsNamedAndNeverReplacedByAnotherLibrary) {
    const fs::path text = fs::path(kProgramFolder) / "no-library.so";
    std::ofstream(text) << "This is no library.\n";
    const std::pair<std::wstring, std::vector<std::wstring>> cases[] = {
        {kLackingLibraryName, {L"vnetx32_get_stats, vnetx32_copyright_string", kLackingLibraryName}},
        // It says where it looked.
        {L"NoSuch64.so", {L"\"NoSuch64.so\" was not found", fs::path(kProgramFolder).wstring()}},
        {L"/no/such/folder/x.so", {L"was not found"}},
        {text.wstring(), {L"could not be loaded: "}},
        {L"/tmp", {L"/tmp"}}};
    for (const auto& [name, wanted] : cases) {
        std::wstring error;
        EXPECT_FALSE(OpenVnetxLibrary(name, error)) << ToUtf8(name);
        for (const std::wstring& part : wanted) {
            EXPECT_NE(error.find(part), std::wstring::npos) << ToUtf8(error);
        }
        EXPECT_EQ(error.find(L"vnetx32_open"), std::wstring::npos) << "only what is missing";
    }
    fs::remove(text);
}

TEST(Binding, TheCurrentFolderIsNotSearchedButARelativePathIsTaken) {
    fs::current_path(kProgramFolder);
    fs::create_directory("elsewhere");
    fs::copy_file(kSharedLibraryName, "elsewhere/Else64.so", fs::copy_options::overwrite_existing);
    fs::current_path("elsewhere");
    std::wstring error;
    EXPECT_FALSE(OpenVnetxLibrary(L"Else64.so", error)) << "a name without a folder is not looked for here";
    const auto library = OpenVnetxLibrary(L"./Else64.so", error);
    ASSERT_TRUE(library) << ToUtf8(error);
    EXPECT_TRUE(fs::path(library->ModulePath()).is_absolute());
    EXPECT_EQ(library->ModuleName(), L"Else64.so");
}

TEST(OpenLibrary, BuiltInLibrariesByNameAndNoOthers) {
    std::wstring error;
    for (const auto& [name, module] : {std::pair{L"auto", L"built-in pcap"},
                                       {L"pcap", L"built-in pcap"},
                                       {L"tun", L"built-in tun"},
                                       {L"SIM:loss=5", L"built-in sim"}}) {
        EXPECT_EQ(OpenVnetxLibrary(name, error)->ModuleName(), module);
    }
    for (const std::wstring name : {L"", L"npcap", L"simulator", L"sim=5", L"auto:x", L"pcap "}) {
        EXPECT_FALSE(OpenVnetxLibrary(name, error));
        EXPECT_NE(error.find(L"no interface library \"" + name + L"\""), std::wstring::npos) << ToUtf8(error);
        EXPECT_NE(error.find(L"shared library"), std::wstring::npos) << "says what there is";
    }
}

} // namespace

} // namespace vnxtest
