// Binding the library by name: against the real shared object, and against what is none.

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "vnetx/bound_library.h"
#include "vnetx/sim_guest.h"
#include "vnetx/support_vnetx.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

namespace fs = std::filesystem;

std::unique_ptr<VnetxLibrary> Bind(const std::wstring& name, std::wstring& error) {
    error.clear();
    return BindVnetxLibrary(name, error);
}

std::unique_ptr<VnetxLibrary> BindSim(const char* options) {
    // Read by the shared object at its first use; each of these tests runs in a process of its own.
    SetEnvironment("VNETX_LIBRARY", options);
    std::wstring error;
    auto library = Bind(kSharedLibraryName, error);
    EXPECT_TRUE(library) << ToUtf8(error);
    return library;
}

std::string g_text;
void TakeText(const char* text, ...) {
    g_text += text;
}

TEST(Binding, TheWholeContractWorksThroughTheSharedLibrary) {
    const auto library = BindSim("sim:dup=100,mtu=600");
    ASSERT_TRUE(library);
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
    library->BuildVantIfaceMac(mac, kFirstGuest.Bytes().data());
    EXPECT_EQ(LoadMac(mac), BuildGuestMac(kFirstGuest));
    EXPECT_NE(library->SetDebugOutputFunc(&TakeText), 0);

    SimGuest guest(*library, {.tap = true, .timeout = 50, .debug = true, .debugFlags = VNETX_DEBUG_ARP_READ});
    guest.Ping(kSimFirstEchoHost, 1);
    const auto replies = guest.ReadReplies();
    EXPECT_EQ(replies.answered, 1);
    EXPECT_EQ(replies.extra, 1);
    EXPECT_NE(g_text.find("ARP operation 1"), std::string::npos);
    EXPECT_EQ(guest.Statistics().packetsWritten, 2);

    // Failures come through with their errno.
    errno = 0;
    EXPECT_LT(guest.Ping(kSimFirstEchoHost, 2, 600), 0);
    EXPECT_EQ(errno, EMSGSIZE);
    errno = 0;
    EXPECT_LT(library->Open("10.9.9.9", VNETX_OPEN_READ_WRITE), 0);
    EXPECT_EQ(errno, ENODEV);
    errno = 0;
    VnetxInterfaceRequest record{};
    EXPECT_NE(library->Ioctl(guest.Handle(), 0x1234, &record), 0);
    EXPECT_EQ(errno, EINVAL);
    library->SetDebugOutputFunc(nullptr);
}

TEST(Binding, ARefusedChoiceOfTheSharedLibraryIsToldAndOpensNothing) {
    const auto library = BindSim("sim:loss=200");
    ASSERT_TRUE(library);
    g_text.clear();
    EXPECT_EQ(library->SetDebugOutputFunc(&TakeText), 0);
    EXPECT_NE(g_text.find("\"loss\""), std::string::npos);
    errno = 0;
    EXPECT_LT(library->Open("198.18.0.1", VNETX_OPEN_READ_WRITE), 0);
    EXPECT_EQ(errno, EINVAL);
}

TEST(Binding, EveryMissingExportIsNamed) {
    std::wstring error;
    EXPECT_FALSE(Bind(kLackingLibraryName, error));
    EXPECT_NE(error.find(L"vnetx32_get_stats, vnetx32_copyright_string"), std::wstring::npos)
        << ToUtf8(error);
    EXPECT_EQ(error.find(L"vnetx32_open"), std::wstring::npos);
    EXPECT_NE(error.find(kLackingLibraryName), std::wstring::npos);
}

TEST(Binding, AnAbsentLibraryIsSaidToBeAbsent) {
    std::wstring error;
    EXPECT_FALSE(Bind(L"NoSuchLibrary64.so", error));
    EXPECT_NE(error.find(L"\"NoSuchLibrary64.so\" was not found"), std::wstring::npos) << ToUtf8(error);
    EXPECT_NE(error.find(fs::path(kProgramFolder).wstring()), std::wstring::npos) << "says where it looked";
    EXPECT_FALSE(Bind((fs::temp_directory_path() / "no-such-folder" / "x.so").wstring(), error));
    EXPECT_NE(error.find(L"was not found"), std::wstring::npos) << ToUtf8(error);
}

class BindingFiles : public ::testing::Test {
protected:
    BindingFiles()
        : m_folder(fs::temp_directory_path() / UniqueName("vnxtest-binding")), m_before(fs::current_path()) {
        fs::create_directory(m_folder);
    }
    ~BindingFiles() override {
        fs::current_path(m_before);
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    const fs::path m_folder;
    const fs::path m_before;
};

TEST_F(BindingFiles, AFileThatIsNoLibraryIsRefusedWithTheSystemsText) {
    const fs::path file = m_folder / "text.so";
    std::ofstream(file) << "This is no library.\n";
    std::wstring error;
    EXPECT_FALSE(Bind(file.wstring(), error));
    EXPECT_NE(error.find(L"could not be loaded: "), std::wstring::npos) << ToUtf8(error);
    EXPECT_FALSE(Bind(m_folder.wstring(), error)) << "a folder";
    EXPECT_FALSE(error.empty());
}

TEST_F(BindingFiles, TheCurrentFolderIsNotSearchedButARelativePathIsTaken) {
    const fs::path copy = m_folder / "Elsewhere64.so";
    fs::copy_file(fs::path(kProgramFolder) / kSharedLibraryName, copy);
    fs::current_path(m_folder);
    std::wstring error;
    EXPECT_FALSE(Bind(L"Elsewhere64.so", error)) << "a name without a folder is not looked for here";
    const auto library = Bind(L"./Elsewhere64.so", error);
    ASSERT_TRUE(library) << ToUtf8(error);
    EXPECT_TRUE(fs::path(library->ModulePath()).is_absolute());
    EXPECT_EQ(library->ModuleName(), L"Elsewhere64.so");
}

} // namespace

} // namespace vnxtest
