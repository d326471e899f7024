// The per-user profile, where it is a file.
#include <fstream>
#include <functional>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/files/profile.h"
#include "settings/temporary_profile.h"
#include "wrenlib/format.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;

class ProfileTest : public testing::Test {
protected:
    void SetContent(std::string_view bytes) {
        fs::create_directories(m_folder);
        std::ofstream(m_file, std::ios::binary) << bytes;
    }
    static std::string Slurp(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // A write is refused with a reason, and what was there before is still what is read.
    static void ExpectRefusal(std::uint32_t before) {
        const auto profile = OpenProfile();
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), before);
        EXPECT_FALSE(profile->WriteNumber(L"NumPings", 4));
        EXPECT_NE(profile->LastProblem().find(L"VNXTest64UD"), std::wstring::npos) << "names the place";
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), before);
    }

    TemporaryProfile m_place;
    const fs::path m_file = m_place.File();
    const fs::path m_folder = m_file.parent_path();
};

TEST_F(ProfileTest, ReadingMakesNothingAndTheFirstWriteMakesAPrivateFile) {
    const auto profile = OpenProfile();
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U);
    EXPECT_TRUE(fs::is_empty(m_place.Folder()) && profile->LastProblem().empty());

    ASSERT_TRUE(profile->WriteNumber(L"NumPings", 7) && profile->WriteText(L"WhoPingName", L"example.org"));
    EXPECT_EQ(Slurp(m_file), "[Settings]\nNumPings=7\nWhoPingName=example.org\n");
    EXPECT_EQ(fs::status(m_file).permissions(), fs::perms{0600});
    EXPECT_EQ(fs::status(m_folder).permissions(), fs::perms{0700});
}

TEST_F(ProfileTest, EveryTextComesBackAsItWent) {
    for (const std::wstring& text :
         {L""s, L" blanks at both ends "s, L"a=b;c#d"s, L"\"quoted\""s, L"back\\slash, tab\t, line\nend"s,
          L"[Settings]"s, L"!immutable"s, L"$HOME ${HOME} %HOME%"s,
          L"\u00fcn\u00efc\u00f6de \u6f22\u5b57 \U0001F600"s, std::wstring(5000, L'x')}) {
        ASSERT_TRUE(OpenProfile()->WriteText(L"Text", text));
        const auto profile = OpenProfile();
        EXPECT_EQ(profile->ReadText(L"Text", L"default"), text);
        EXPECT_EQ(profile->LastProblem(), L"");
    }
    // What a text file cannot hold is refused, not cut.
    EXPECT_FALSE(OpenProfile()->WriteText(L"Text", L"a\0b"sv));
}

TEST_F(ProfileTest, NumbersOfThirtyTwoBitsAndNothingElse) {
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"DebugFlags", 0xFFFFFFFF));
    EXPECT_EQ(OpenProfile()->ReadNumber(L"DebugFlags", 42), 0xFFFFFFFF);
    for (const char* text : {"0x80008080", "", "abc", "-1", "+1", "4294967296", "99999999999999999999", "1.5",
                             "0x", "0x1FFFFFFFF", "12 34", "1e3"}) {
        SetContent(std::string("[Settings]\nDebugFlags=") + text + "\n");
        const auto profile = OpenProfile();
        const std::uint32_t wanted = text == "0x80008080"sv ? 0x80008080 : 42;
        EXPECT_EQ(profile->ReadNumber(L"DebugFlags", 42), wanted) << text;
        EXPECT_EQ(profile->LastProblem().empty(), wanted != 42) << text;
    }
}

TEST_F(ProfileTest, TheSimulatedLanHasASectionOfItsOwnThatSurvivesDamageToo) {
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"NumPings", 9));
    const auto simulated = OpenProfile(ProfileSection::SimulatedLan);
    EXPECT_EQ(simulated->ReadNumber(L"NumPings", 3), 3U);
    ASSERT_TRUE(simulated->WriteNumber(L"NumPings", 5) && simulated->WriteText(L"WhoPingName", L"x"));
    EXPECT_EQ(Slurp(m_file), "[Settings]\nNumPings=9\n[SimulatedLan]\nNumPings=5\nWhoPingName=x\n");
    SetContent(Slurp(m_file) + "no equals sign\n");
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"PingDelay", 7));
    EXPECT_EQ(OpenProfile()->ReadNumber(L"NumPings", 3), 9U);
    EXPECT_EQ(OpenProfile(ProfileSection::SimulatedLan)->ReadText(L"WhoPingName", L""), L"x");
    EXPECT_EQ(OpenProfile(ProfileSection::SimulatedLan)->LastProblem(), L"");
}

TEST_F(ProfileTest, ADamagedFileYieldsWhatCanBeReadAndIsKeptAside) {
    for (const std::string& bytes :
         {"[Settings]\nNumPings=9\n\xff\xfe\x80 garbage\n"s, "[Settings]\nNumPings=9\nA\0B=\0\n"s,
          "[Settings]\nNumPings=9\nno equals sign\n"s, "[Settings\nNumPings=8\n[Settings]\nNumPings=9\n"s}) {
        SetContent(bytes);
        testing::internal::CaptureStderr();
        const auto profile = OpenProfile();
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 9U) << bytes;
        EXPECT_NE(profile->LastProblem().find(L"is damaged"), std::wstring::npos) << bytes;
        ASSERT_TRUE(profile->WriteNumber(L"PingDelay", 5)) << bytes;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        const auto mended = OpenProfile();
        EXPECT_EQ(mended->ReadNumber(L"NumPings", 3), 9U);
        EXPECT_EQ(mended->ReadNumber(L"PingDelay", 3), 5U);
        EXPECT_EQ(mended->LastProblem(), L"") << "the damage is left behind";
        EXPECT_EQ(Slurp(m_file.string() + ".damaged"), bytes);
    }
}

// A lock that is never given back: tests/e2e/test_terminal.py.
TEST_F(ProfileTest, WhatCannotBeReadIsNotOverwrittenAndWhatCannotBeWrittenIsSaid) {
    const std::function<void()> obstacles[] = {[this] { fs::create_directories(m_file); },
                                               [this] { EXPECT_EQ(mkfifo(m_file.c_str(), 0600), 0); },
                                               [this] { SetContent(std::string(2 << 20, 'x')); }};
    for (const auto& obstruct : obstacles) {
        obstruct();
        ExpectRefusal(3);
        fs::remove(m_file);
    }
    fs::remove_all(m_folder);
    std::ofstream(m_folder) << "in the way";
    ExpectRefusal(3);
}

// Two programs write at once, a third reads: nobody loses a value, nobody sees half a file.
TEST_F(ProfileTest, ProgramsThatWriteAtOnceKeepEachOthersValues) {
    constexpr std::uint32_t kRounds = 100;
    const auto nameOf = [](std::uint32_t number) { return Sprintf(L"Value%u", number); };
    for (const std::uint32_t first : {1000U, 2000U}) {
        if (fork() == 0) {
            const auto profile = OpenProfile();
            bool good = true;
            for (std::uint32_t number = first; number < first + kRounds; ++number) {
                good = profile->WriteNumber(nameOf(number), number) && good;
            }
            _exit(good ? 0 : 1);
        }
    }
    const auto reader = OpenProfile();
    for (int running = 2; running > 0;) {
        int status = 0;
        running -= waitpid(-1, &status, WNOHANG) > 0 ? 1 : 0;
        EXPECT_EQ(status, 0);
        reader->ReadNumber(nameOf(1000), 0);
        EXPECT_EQ(reader->LastProblem(), L"");
    }
    for (std::uint32_t number = 1000; number < 1000 + kRounds; ++number) {
        EXPECT_EQ(reader->ReadNumber(nameOf(number), 0), number);
        EXPECT_EQ(reader->ReadNumber(nameOf(number + 1000), 0), number + 1000);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), 2) << "more than the file and its lock";
}

TEST_F(ProfileTest, WithoutAConfigurationFolderItIsUnderTheHome) {
    setenv("XDG_CONFIG_HOME", "relative/is/ignored", 1);
    setenv("HOME", m_place.Folder().c_str(), 1); // each of these tests has a process of its own
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"NumPings", 4));
    EXPECT_TRUE(fs::exists(m_place.Folder() / ".config/VNXTest64UD/VNXTest64UD.conf"));
}

} // namespace
} // namespace vnxtest
