// The per-user profile, where it is a file.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/profile.h"
#include "settings/temporary_profile.h"
#include "wrenlib/format.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;

std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class ProfileTest : public testing::Test {
protected:
    void SetContent(std::string_view bytes) {
        fs::create_directories(m_place.File().parent_path());
        std::ofstream(m_place.File(), std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    static unsigned ModeOf(const fs::path& path) {
        struct stat state {};
        return stat(path.c_str(), &state) == 0 ? state.st_mode & 07777 : 0;
    }

    TemporaryProfile m_place;
};

TEST_F(ProfileTest, ReadingMakesNothingAndTheFirstWriteMakesAPrivateFile) {
    const auto profile = OpenProfile();
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U);
    EXPECT_EQ(profile->ReadText(L"WhoPingName", L"nobody"), L"nobody");
    EXPECT_TRUE(fs::is_empty(m_place.Folder()));
    EXPECT_EQ(profile->LastProblem(), L"");

    ASSERT_TRUE(profile->WriteNumber(L"NumPings", 7));
    ASSERT_TRUE(profile->WriteText(L"WhoPingName", L"example.org"));
    EXPECT_EQ(Slurp(m_place.File()), "[Settings]\nNumPings=7\nWhoPingName=example.org\n");
    EXPECT_EQ(ModeOf(m_place.File()), 0600U);
    EXPECT_EQ(ModeOf(m_place.File().parent_path()), 0700U);
    EXPECT_EQ(profile->Location(), m_place.File().wstring());
}

TEST_F(ProfileTest, EveryTextComesBackAsItWent) {
    const std::wstring texts[] = {L"",
                                  L" blanks at both ends ",
                                  L"a=b;c#d",
                                  L"\"quoted\"",
                                  L"back\\slash, tab\t, line\nend",
                                  L"[Settings]",
                                  L"!immutable",
                                  L"$HOME ${HOME} %HOME%",
                                  L"\u00fcn\u00efc\u00f6de \u6f22\u5b57 \U0001F600",
                                  std::wstring(5000, L'x')};
    std::size_t index = 0;
    for (const std::wstring& text : texts) {
        const std::wstring name = L"Text" + std::to_wstring(index++);
        ASSERT_TRUE(OpenProfile()->WriteText(name, text));
    }
    const auto profile = OpenProfile();
    index = 0;
    for (const std::wstring& text : texts) {
        EXPECT_EQ(profile->ReadText(L"Text" + std::to_wstring(index++), L"default"), text);
    }
    EXPECT_EQ(profile->LastProblem(), L"");
    // What a text file cannot hold is refused, not cut.
    EXPECT_FALSE(OpenProfile()->WriteText(L"Text0", std::wstring_view(L"a\0b", 3)));
}

TEST_F(ProfileTest, NumbersOfThirtyTwoBitsAndNothingElse) {
    for (const std::uint32_t value : {0U, 1U, 0x7FFFFFFFU, 0x80008080U, 0xFFFFFFFFU}) {
        ASSERT_TRUE(OpenProfile()->WriteNumber(L"DebugFlags", value));
        EXPECT_EQ(OpenProfile()->ReadNumber(L"DebugFlags", 42), value);
    }
    const auto read = [this](const char* text) {
        SetContent(std::string("[Settings]\nDebugFlags=") + text + "\n");
        const auto profile = OpenProfile();
        const std::uint32_t value = profile->ReadNumber(L"DebugFlags", 42);
        EXPECT_EQ(profile->LastProblem().empty(), value != 42) << text;
        return value;
    };
    EXPECT_EQ(read(" 7 "), 7U);
    EXPECT_EQ(read("0x80008080"), 0x80008080U);
    EXPECT_EQ(read("\"9\""), 9U);
    for (const char* bad : {"", "abc", "-1", "+1", "4294967296", "99999999999999999999", "1.5", "0x",
                            "0x1FFFFFFFF", "12 34", "0b1", "1e3"}) {
        EXPECT_EQ(read(bad), 42U) << bad;
    }
}

TEST_F(ProfileTest, ADamagedFileYieldsWhatCanBeReadAndIsKeptAside) {
    const std::string damaged[] = {
        "[Settings]\nNumPings=9\n\xff\xfe\x80 garbage\n"s,
        "[Settings]\nNumPings=9\nA\0B=\0\n"s,
        "[Settings]\nNumPings=9\nno equals sign\n",
        "[Settings\nNumPings=8\n[Settings]\nNumPings=9\n",
    };
    for (const std::string& bytes : damaged) {
        SetContent(bytes);
        testing::internal::CaptureStderr();
        const auto profile = OpenProfile();
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 9U) << bytes;
        EXPECT_NE(profile->LastProblem().find(L"is damaged"), std::wstring::npos) << bytes;
        ASSERT_TRUE(profile->WriteNumber(L"PingDelay", 5)) << bytes;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(OpenProfile()->ReadNumber(L"NumPings", 3), 9U);
        EXPECT_EQ(OpenProfile()->ReadNumber(L"PingDelay", 3), 5U);
        EXPECT_EQ(Slurp(m_place.File().string() + ".damaged"), bytes);
    }
}

TEST_F(ProfileTest, RandomBytesNeverHarm) {
    std::mt19937 random(1);
    const std::string_view alphabet = "[]=!#;/\\\"$%\n\r\t \0\xff\xc3\xa9Settings1aZ"sv;
    for (int round = 0; round < 300; ++round) {
        std::string bytes(random() % 200, ' ');
        for (char& c : bytes) {
            c = alphabet[random() % alphabet.size()];
        }
        SetContent(bytes);
        const auto profile = OpenProfile();
        profile->ReadNumber(L"NumPings", 3);
        if (profile->WriteText(L"WhoPingName", L"x")) {
            EXPECT_EQ(OpenProfile()->ReadText(L"WhoPingName", L""), L"x") << bytes;
        } else {
            EXPECT_NE(profile->LastProblem(), L"") << bytes;
        }
    }
}

TEST_F(ProfileTest, WhatCannotBeReadIsNotOverwritten) {
    const auto refuses = [this] {
        const auto profile = OpenProfile();
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U);
        EXPECT_NE(profile->LastProblem(), L"");
        EXPECT_FALSE(profile->WriteNumber(L"NumPings", 4));
        EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U);
    };
    fs::create_directories(m_place.File());
    refuses();
    fs::remove(m_place.File());

    ASSERT_EQ(mkfifo(m_place.File().c_str(), 0600), 0);
    refuses();
    fs::remove(m_place.File());

    SetContent(std::string(2 << 20, 'x'));
    refuses();
    EXPECT_EQ(fs::file_size(m_place.File()), 2U << 20);

    if (geteuid() != 0) {
        SetContent("[Settings]\nNumPings=9\n");
        fs::permissions(m_place.File(), fs::perms::none);
        refuses();
    }
}

TEST_F(ProfileTest, AFolderThatCannotBeWrittenIsSaid) {
    m_place.MakeUnwritable();
    const auto profile = OpenProfile();
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U);
    EXPECT_FALSE(profile->WriteNumber(L"NumPings", 4));
    EXPECT_NE(profile->LastProblem().find(L"VNXTest64UD"), std::wstring::npos) << "names the place";
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 3U) << "what was not stored is not there";
}

TEST_F(ProfileTest, AReadOnlyFolderIsSaid) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "access rights do not stop root";
    }
    SetContent("[Settings]\nNumPings=9\n");
    const fs::path folder = m_place.File().parent_path();
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    const auto profile = OpenProfile();
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 9U);
    EXPECT_FALSE(profile->WriteNumber(L"NumPings", 4));
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 9U);
    fs::permissions(folder, fs::perms::owner_all);
}

TEST_F(ProfileTest, ALinkStaysALink) {
    const fs::path real = m_place.Folder() / "elsewhere.conf";
    std::ofstream(real) << "[Settings]\nNumPings=9\n";
    fs::create_directories(m_place.File().parent_path());
    fs::create_symlink(real, m_place.File());
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"PingDelay", 5));
    EXPECT_TRUE(fs::is_symlink(m_place.File()));
    EXPECT_EQ(Slurp(real), "[Settings]\nNumPings=9\nPingDelay=5\n");
}

// Two programs write at once, a third reads: nobody loses a value, nobody sees half a file.
TEST_F(ProfileTest, ProgramsThatWriteAtOnceKeepEachOthersValues) {
    constexpr int kWriters = 2;
    constexpr std::uint32_t kRounds = 60;
    pid_t writers[kWriters];
    for (int writer = 0; writer < kWriters; ++writer) {
        writers[writer] = fork();
        ASSERT_GE(writers[writer], 0);
        if (writers[writer] == 0) {
            const auto profile = OpenProfile();
            bool good = true;
            for (std::uint32_t round = 1; round <= kRounds; ++round) {
                good = profile->WriteNumber(Sprintf(L"Writer%d_%u", writer, round % 5), round) && good;
                good = profile->WriteNumber(Sprintf(L"Writer%d_last", writer), round) && good;
            }
            _exit(good ? 0 : 1);
        }
    }
    const auto reader = OpenProfile();
    std::uint32_t last[kWriters] = {};
    int running = kWriters;
    while (running > 0) {
        for (int writer = 0; writer < kWriters; ++writer) {
            const std::uint32_t now = reader->ReadNumber(Sprintf(L"Writer%d_last", writer), 0);
            EXPECT_GE(now, last[writer]) << "a value went back";
            last[writer] = now;
        }
        EXPECT_EQ(reader->LastProblem(), L"");
        int status = 0;
        if (waitpid(-1, &status, WNOHANG) > 0) {
            EXPECT_EQ(status, 0);
            --running;
        }
    }
    for (int writer = 0; writer < kWriters; ++writer) {
        EXPECT_EQ(reader->ReadNumber(Sprintf(L"Writer%d_last", writer), 0), kRounds);
        for (std::uint32_t round = kRounds - 4; round <= kRounds; ++round) {
            EXPECT_EQ(reader->ReadNumber(Sprintf(L"Writer%d_%u", writer, round % 5), 0), round);
        }
    }
    const auto leftOver =
        std::count_if(fs::directory_iterator(m_place.File().parent_path()), fs::directory_iterator{},
                      [](const auto& entry) { return entry.path().filename() != ".lock"; });
    EXPECT_EQ(leftOver, 1) << "temporary files were left";
}

TEST_F(ProfileTest, ALockThatIsNeverGivenBackEndsInARefusal) {
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"NumPings", 9));
    const int lock = open((m_place.File().parent_path() / ".lock").c_str(), O_RDWR);
    ASSERT_GE(lock, 0);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const auto start = std::chrono::steady_clock::now();
    const auto profile = OpenProfile();
    EXPECT_FALSE(profile->WriteNumber(L"NumPings", 4));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_NE(profile->LastProblem(), L"");
    EXPECT_EQ(profile->ReadNumber(L"NumPings", 3), 9U);
    close(lock);
    EXPECT_TRUE(profile->WriteNumber(L"NumPings", 4));
}

TEST(ProfilePlace, FollowsTheUsersFolders) {
    const TemporaryProfile place;
    setenv("XDG_CONFIG_HOME", "relative/is/ignored", 1);
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    setenv("HOME", place.Folder().c_str(), 1);
    EXPECT_EQ(OpenProfile()->Location(), (place.Folder() / ".config/VNXTest64UD/VNXTest64UD.conf").wstring());
    ASSERT_TRUE(OpenProfile()->WriteNumber(L"NumPings", 4));
    EXPECT_TRUE(fs::exists(place.Folder() / ".config/VNXTest64UD/VNXTest64UD.conf"));
    setenv("HOME", home.c_str(), 1);
}

} // namespace
} // namespace vnxtest
