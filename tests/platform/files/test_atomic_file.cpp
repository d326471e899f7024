// Files that appear whole or not at all, also beside files and in folders of other users.
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/files/atomic_file.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kStranger = 65534;

class AtomicFileTest : public testing::Test {
protected:
    AtomicFileTest() {
        std::string name = fs::temp_directory_path() / "vnxtest-files-XXXXXX";
        m_folder = mkdtemp(name.data());
    }
    ~AtomicFileTest() override { fs::remove_all(m_folder); }

    static std::string Slurp(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // "" when it was written, else the reason.
    static std::wstring Save(const fs::path& path, FileAccess access = FileAccess::Document) {
        AtomicFile file;
        const auto saved = file.Open(path, access)
                               .and_then([&] { return file.Write("new "); })
                               .and_then([&] { return file.Write("content"); })
                               .and_then([&] { return file.Commit(); });
        return saved ? L"" : saved.error().text;
    }
    static void ExpectRefused(const fs::path& path, const wchar_t* reason) {
        EXPECT_NE(Save(path).find(reason), std::wstring::npos) << path;
    }
    fs::path MakeFile(const fs::path& path, uid_t owner, mode_t mode) {
        std::ofstream(path) << "old";
        EXPECT_EQ(chown(path.c_str(), owner, owner), 0);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }
    std::ptrdiff_t FilesThere() const {
        return std::distance(fs::directory_iterator(m_folder), fs::directory_iterator{});
    }
    static std::string AccessOf(const fs::path& path) {
        struct stat status {};
        stat(path.c_str(), &status);
        char text[64];
        std::snprintf(text, sizeof text, "%u:%u %o", status.st_uid, status.st_gid, status.st_mode & 07777U);
        return text;
    }

    fs::path m_folder;
};

TEST_F(AtomicFileTest, AFileAppearsWholeOrNotAtAll) {
    const fs::path path = m_folder / "file";
    std::ofstream(path) << "old";
    AtomicFile file;
    ASSERT_TRUE(file.Open(path, FileAccess::Document));
    ASSERT_TRUE(file.Write("new ") && file.Write("content"));
    EXPECT_EQ(Slurp(path), "old");
    EXPECT_EQ(FilesThere(), 1) << "what is not finished has no name";
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(Slurp(path), "new content");

    ASSERT_TRUE(file.Open(path, FileAccess::Document) && file.Write("discarded"));
    file.Discard();
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_FALSE(file.Write("late") || file.Commit());
    EXPECT_EQ(FilesThere(), 1);
    // A full disk shows at the first write, and nothing is committed after it.
    ASSERT_TRUE(file.Open("/dev/full", FileAccess::Document) && file.IsWrittenThrough());
    for (const auto& failed : {file.Write("x"), file.Write("x"), file.Commit()}) {
        ASSERT_FALSE(failed);
        EXPECT_EQ(failed.error().errnoValue, ENOSPC);
        EXPECT_NE(failed.error().text.find(L"errno=28"), std::wstring::npos);
    }

    umask(027);
    EXPECT_EQ(Save(m_folder / "new") + Save(m_folder / "private", FileAccess::Private), L"");
    EXPECT_EQ(fs::status(m_folder / "new").permissions(), fs::perms(0640));
    EXPECT_EQ(fs::status(m_folder / "private").permissions(), fs::perms(0600));
    ExpectRefused(m_folder, L"errno=21");
    ExpectRefused(m_folder / "missing" / "file", L"errno=2");
    ExpectRefused("", L"errno=2");
    fs::create_symlink("turns", m_folder / "turns");
    ExpectRefused(m_folder / "turns", L"errno=40");
    fs::create_symlink("made", m_folder / "to nothing");
    EXPECT_EQ(Save(m_folder / "to nothing"), L"");
    EXPECT_TRUE(fs::is_regular_file(m_folder / "made") && fs::is_symlink(m_folder / "to nothing"));
}

TEST_F(AtomicFileTest, NamesAreTakenByteForByte) {
    for (const std::string& name : {std::string(255, 'a'), std::string("gr\xfcn \xff\n")}) {
        for (int round = 0; round < 2; ++round) { // new, then replaced
            EXPECT_EQ(Save(m_folder / name), L"");
        }
        EXPECT_EQ(Slurp(m_folder / name), "new content");
    }
    EXPECT_EQ(FilesThere(), 2);
    ExpectRefused(m_folder / std::string(256, 'a'), L"errno=36");
}

TEST_F(AtomicFileTest, AReplacedFileKeepsItsAccessButNoSpecialBit) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    const std::pair<mode_t, const char*> modes[] = {{06777, "777"}, {04755, "755"}, {01640, "640"}, {0, "0"}};
    for (const auto& [before, after] : modes) {
        const fs::path path = MakeFile(m_folder / "file", kStranger, before);
        EXPECT_EQ(Save(path), L"");
        EXPECT_EQ(AccessOf(path), std::string("65534:65534 ") + after);
    }
    EXPECT_EQ(Save(m_folder / "file", FileAccess::Private), L"");
    EXPECT_EQ(AccessOf(m_folder / "file"), "65534:65534 600") << "a user's settings stay the user's";
    // Who may not give a file away keeps it; what the old group was allowed the new one gets only if all have
    // it.
    MakeFile(m_folder / "file", 0, 0672);
    ASSERT_EQ(chmod(m_folder.c_str(), 0777), 0);
    ASSERT_EQ(setegid(kStranger) + seteuid(kStranger), 0);
    EXPECT_EQ(Save(m_folder / "file"), L"");
    EXPECT_EQ(AccessOf(m_folder / "file"), "65534:65534 622");
    ASSERT_EQ(seteuid(0), 0);
    MakeFile(m_folder / "file", 0, 0644);
    ASSERT_EQ(seteuid(kStranger), 0);
    ExpectRefused(m_folder / "file", L"errno=13");
    ASSERT_EQ(seteuid(0), 0);
}

// The owner and everybody by `mode`, the owning group nothing, one user as given.
std::string ListFor(mode_t mode, unsigned short named) {
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id = 0xFFFFFFFF;
    };
    const auto owner = static_cast<std::uint16_t>(mode >> 6 & 7U);
    const auto everybody = static_cast<std::uint16_t>(mode & 7U);
    const Entry entries[] = {{1, owner}, {2, named, kStranger}, {4, 0}, {0x10, named}, {0x20, everybody}};
    const std::uint32_t version = 2;
    std::string list(sizeof version + sizeof entries, '\0');
    std::memcpy(list.data(), &version, sizeof version);
    std::memcpy(list.data() + sizeof version, entries, sizeof entries);
    return list;
}

std::string ListOf(const fs::path& path, const char* name = "system.posix_acl_access") {
    std::string list(4096, '\0');
    const ssize_t size = getxattr(path.c_str(), name, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}

// The bits of the group are the mask of such a list: taken over alone they would be the group's rights.
TEST_F(AtomicFileTest, AnAccessControlListIsKeptAndNeverBecomesTheGroupsRights) {
    const fs::path path = MakeFile(m_folder / "file", geteuid(), 0600);
    const std::string list = ListFor(0604, 6);
    const auto give = [&](const char* name, const fs::path& to, const std::string& what) {
        return setxattr(to.c_str(), name, what.data(), what.size(), 0) == 0;
    };
    if (!give("system.posix_acl_access", path, list)) {
        GTEST_SKIP() << "the file system has no access control lists: " << std::strerror(errno);
    }
    EXPECT_EQ(Save(path), L"");
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_EQ(ListOf(path), list);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0664)) << "6 is the mask";
    // One that the folder gives its new files is not the replaced file's.
    ASSERT_TRUE(give("system.posix_acl_default", m_folder, list));
    ASSERT_EQ(removexattr(path.c_str(), "system.posix_acl_access") + chmod(path.c_str(), 0660), 0);
    EXPECT_EQ(Save(path), L"");
    EXPECT_EQ(ListOf(path), "");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0660));
    ASSERT_EQ(removexattr(m_folder.c_str(), "system.posix_acl_default"), 0);
    if (geteuid() != 0) {
        return;
    }
    // Who may not keep the group keeps no list either, and those whom it held back are held back still.
    MakeFile(path, kStranger, 0606);
    ASSERT_TRUE(give("system.posix_acl_access", path, ListFor(0606, 6)));
    ASSERT_EQ(chmod(m_folder.c_str(), 0777), 0);
    ASSERT_EQ(setegid(1) + seteuid(1), 0);
    const std::wstring problem = Save(path);
    ASSERT_EQ(seteuid(0) + setegid(0), 0);
    EXPECT_EQ(problem, L"");
    EXPECT_EQ(AccessOf(path), "1:1 600") << "the old group had nothing, and is everybody now";
}

TEST_F(AtomicFileTest, WhatOthersPutIntoASharedFolderIsLeftAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    const fs::path target = m_folder / "target";
    const fs::path shared = m_folder / "shared";
    std::ofstream(target) << "old";
    fs::create_directory(shared);
    fs::create_symlink(target, shared / "link");
    ASSERT_EQ(lchown((shared / "link").c_str(), kStranger, kStranger), 0);
    ASSERT_EQ(mkfifo((shared / "pipe").c_str(), 0666), 0);
    ASSERT_EQ(chown((shared / "pipe").c_str(), kStranger, kStranger), 0);
    MakeFile(shared / "file", kStranger, 0666);
    for (const mode_t mode : {01777U, 01770U}) {
        ASSERT_EQ(chmod(shared.c_str(), mode), 0);
        ExpectRefused(shared / "file", L"belongs to another user");
        ExpectRefused(shared / "pipe", L"belongs to another user");
    }
    ASSERT_EQ(chmod(shared.c_str(), 01777), 0);
    fs::create_symlink("shared/link", m_folder / "chain");
    for (const fs::path& link : {shared / "link", m_folder / "chain"}) {
        ExpectRefused(link, L"is a link of another user's");
    }
    EXPECT_EQ(Slurp(target) + Slurp(shared / "file"), "oldold");
    // The owner of the folder could do worse; and without the sticky bit it is anybody's.
    ASSERT_EQ(chown(shared.c_str(), kStranger, kStranger), 0);
    EXPECT_EQ(Save(shared / "file") + Save(shared / "link"), L"");
    ASSERT_EQ(chown(shared.c_str(), 0, 0) + chmod(shared.c_str(), 0777), 0);
    EXPECT_EQ(Save(shared / "file") + Save(shared / "link"), L"");
    EXPECT_EQ(Slurp(target), "new content");
    EXPECT_TRUE(fs::is_symlink(shared / "link"));
    // One's own is one's own.
    ASSERT_EQ(chmod(shared.c_str(), 01777), 0);
    ASSERT_EQ(lchown((shared / "link").c_str(), 0, 0) + chown((shared / "file").c_str(), 0, 0), 0);
    EXPECT_EQ(Save(shared / "file") + Save(shared / "link"), L"");
}

TEST_F(AtomicFileTest, TemporaryFilesDoNotStay) {
    const fs::path path = m_folder / "file";
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        // Where the process has no entry in /proc a file cannot get its name later: it has a temporary one.
        AtomicFile file;
        const bool hidden = unshare(CLONE_NEWNS) == 0 &&
                            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                            mount("tmpfs", "/proc", "tmpfs", 0, nullptr) == 0;
        const bool good = hidden && file.Open(m_folder / "first", FileAccess::Document) && file.Commit() &&
                          file.Open(path, FileAccess::Document) && file.Write("half");
        [[maybe_unused]] const ssize_t told = write(ready[1], hidden ? good ? "g" : "b" : "s", 1);
        pause();
    }
    char state = 0;
    ASSERT_EQ(read(ready[0], &state, 1), 1);
    const auto kill_and_wait = [child] {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    };
    if (state == 's') {
        kill_and_wait();
        GTEST_SKIP() << "needs the right to mount";
    }
    EXPECT_EQ(state, 'g');
    EXPECT_EQ(FilesThere(), 2) << "the one that was finished, and the other's temporary one";
    EXPECT_EQ(Save(m_folder / "second"), L"");
    EXPECT_EQ(FilesThere(), 3) << "one that is being written is left alone";
    kill_and_wait();
    EXPECT_EQ(FilesThere(), 3);
    std::ofstream(m_folder / ".vnxtest-notes.txt") << "not ours";
    EXPECT_EQ(Save(m_folder / "second"), L"");
    EXPECT_EQ(FilesThere(), 3) << "the next run has removed it";
    EXPECT_TRUE(fs::exists(m_folder / ".vnxtest-notes.txt") && !fs::exists(path));
}

TEST_F(AtomicFileTest, OnlyOnesOwnTemporaryFilesAreRemoved) {
    const fs::path own = MakeFile(m_folder / ".vnxtest-0123456abv.tmp", geteuid(), 0600);
    for (const char* name :
         {".vnxtest-my-precious.tmp", ".vnxtest-.tmp", ".vnxtest.tmp", ".vnxtest-0123456abw.tmp",
          ".vnxtest-0123456ab.tmp", ".vnxtest-0123456abcd.tmp", ".vnxtest-0123456abv.txt"}) {
        MakeFile(m_folder / name, geteuid(), 0600);
    }
    if (geteuid() == 0) {
        MakeFile(m_folder / ".vnxtest-0123456789.tmp", kStranger, 0600);
    }
    const std::ptrdiff_t before = FilesThere();
    EXPECT_EQ(Save(m_folder / "file"), L"");
    EXPECT_FALSE(fs::exists(own));
    EXPECT_EQ(FilesThere(), before) << "that one is gone, the file has come";
}

TEST_F(AtomicFileTest, PipesAndDevicesAreWrittenThroughOrRefused) {
    const fs::path pipe = m_folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    AtomicFile file;
    for (const fs::path& path : {pipe, fs::path("/dev/null")}) {
        // Refused without being opened, which would wait for a reader.
        const auto refused = file.Open(path, FileAccess::Document, SpecialFiles::Refuse);
        ASSERT_FALSE(refused);
        EXPECT_NE(refused.error().text.find(L"is no ordinary file"), std::wstring::npos);
    }
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_TRUE(file.Open(pipe, FileAccess::Document) && file.IsWrittenThrough());
    EXPECT_TRUE(file.Write("at once"));
    char text[16] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 7);
    EXPECT_TRUE(file.Commit() && fs::is_fifo(pipe));
    close(reader);
    // What a descriptor of the process leads to is not replaced either, even if it is a file.
    const fs::path log = m_folder / "log";
    const int descriptor = open(log.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(write(descriptor, "before ", 7), 7);
    EXPECT_EQ(Save("/proc/self/fd/" + std::to_string(descriptor)), L"");
    EXPECT_EQ(Slurp(log), "before new content");
    close(descriptor);
}

TEST_F(AtomicFileTest, OneFileIsKnownByEveryPath) {
    const fs::path path = m_folder / "file";
    std::FILE* const stream = std::fopen(path.c_str(), "w");
    fs::create_hard_link(path, m_folder / "hard");
    fs::create_symlink("file", m_folder / "soft");
    fs::create_symlink("missing", m_folder / "to missing");
    AtomicFile first;
    AtomicFile second;
    const auto same = [&](const fs::path& one, const fs::path& other) {
        EXPECT_TRUE(first.Open(m_folder / one, FileAccess::Document));
        EXPECT_TRUE(second.Open(m_folder / other, FileAccess::Document));
        return first.IsSameAs(second);
    };
    EXPECT_TRUE(same("file", "hard") && same("file", "soft") && same("missing", "to missing"));
    EXPECT_FALSE(same("file", "missing") || same("missing", "missing too"));
    EXPECT_TRUE(same("missing", fs::path("..") / m_folder.filename() / "./missing"));
    EXPECT_FALSE(first.IsSameAs(stream) || first.IsSameAs(path));
    EXPECT_TRUE(same("soft", "hard") && first.IsSameAs(stream) && second.IsSameAs(path));
    std::fclose(stream);
}

} // namespace
} // namespace vnxtest
