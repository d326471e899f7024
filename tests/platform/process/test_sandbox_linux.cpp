// The filter of system calls: allowed calls work, and any other one ends the program and is named.
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/process/sandbox.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using testing::ExitedWithCode;

class SandboxDeathTest : public testing::Test {
protected:
    void SetUp() override {
        if (VNXTEST_SANITIZED) {
            GTEST_SKIP() << "there is no filter in a build with a sanitizer";
        }
    }

    // `act` in a process of its own, under the filter. Its exit status is what `act` returns.
    [[noreturn]] static void Run(const SandboxNeeds& needs, const std::function<int()>& act) {
        PrepareSandbox();
        if (const auto entered = EnterSandbox(needs); !entered) {
            const std::string text = ToUtf8(entered.error().Describe());
            [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
            _exit(99);
        }
        _exit(act());
    }

    static std::string Named(const std::string& call) {
        return "vnxtest-cli: Ended: the system call " + call +
               " \\([0-9]+\\) is not allowed to a running guest";
    }
};

struct Forbidden {
    const char* call; // as it is named
    std::function<long()> make;
};

sockaddr* PacketAddress() {
    static sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = 1;
    return reinterpret_cast<sockaddr*>(&address);
}

TEST_F(SandboxDeathTest, WhatIsNotLeftEndsTheProgramAndIsNamed) {
    const int wire = socket(AF_UNIX, SOCK_DGRAM, 0); // the filter does not ask what a descriptor is
    constexpr int kPrivate = MAP_PRIVATE | MAP_ANONYMOUS;
    msghdr message{};
    const Forbidden all[] = {
        {"execve", [] { return execl("/bin/true", "true", nullptr); }},
        {"execveat", [] { return syscall(SYS_execveat, AT_FDCWD, "/bin/true", nullptr, nullptr, 0); }},
        // fork() of newer C libraries blocks the signal meanwhile.
        {"clone", [] { return syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0); }},
        {"vfork", [] { return syscall(SYS_vfork); }},
        {"unshare", [] { return unshare(CLONE_NEWUSER); }},
        {"ptrace", [] { return syscall(SYS_ptrace, 0, 0, 0, 0); }},
        {"process_vm_writev",
         [] { return syscall(SYS_process_vm_writev, getpid(), nullptr, 0, nullptr, 0, 0); }},
        {"kill", [] { return kill(getpid(), 0); }},
        {"prctl", [] { return prctl(PR_SET_DUMPABLE, 1); }},
        {"bpf", [] { return syscall(SYS_bpf, 0, nullptr, 0); }},
        {"io_uring_setup", [] { return syscall(SYS_io_uring_setup, 1, nullptr); }},
        {"memfd_create", [] { return memfd_create("code", 0); }},
        {"setuid", [] { return syscall(SYS_setuid, 0); }},
        {"capset", [] { return syscall(SYS_capset, nullptr, nullptr); }},
        {"mmap", [] { return syscall(SYS_mmap, nullptr, 4096, PROT_READ | PROT_EXEC, kPrivate, -1, 0); }},
        {"mprotect", [] { return mprotect(&errno, 1, PROT_READ | PROT_WRITE | PROT_EXEC); }},
        {"openat", [] { return open("/dev/null", O_WRONLY); }},
        {"openat", [] { return open("/tmp/new", O_RDONLY | O_CREAT, 0600); }},
        {"rename", [] { return rename("/nowhere", "/nowhere either"); }},
        {"unlink", [] { return unlink("/nowhere"); }},
        {"ioctl", [] { return ioctl(0, TIOCSTI, "x"); }},
        {"socket", [] { return socket(AF_INET, SOCK_DGRAM, 0); }},
        {"socket", [] { return socket(AF_PACKET, SOCK_RAW, 0); }},
        {"socket", [] { return socket(AF_UNIX, SOCK_STREAM, 0); }},
        {"connect", [wire] { return connect(wire, PacketAddress(), sizeof(sockaddr_ll)); }},
        {"bind", [wire] { return bind(wire, PacketAddress(), sizeof(sockaddr_ll)); }},
        {"sendto", [wire] { return sendto(wire, "", 1, 0, PacketAddress(), sizeof(sockaddr_ll)); }},
        {"sendmsg", [wire, &message] { return sendmsg(wire, &message, 0); }},
        {"setsockopt", [wire] { return setsockopt(wire, SOL_SOCKET, SO_BINDTODEVICE, "lo", 2); }},
    };
    for (const Forbidden& one : all) {
        EXPECT_EXIT(Run({}, [&one] { return one.make() >= 0 ? 0 : 1; }), ExitedWithCode(2), Named(one.call));
    }
    close(wire);
}

// With any inherited signal mask, and by any entry into the kernel.
TEST_F(SandboxDeathTest, ABlockedSignalAndOtherArchitecturesHideNoCall) {
    sigset_t all{}, before{};
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const auto fromThread = [] { std::thread([] { syscall(SYS_setuid, 0); }).join(); };
    EXPECT_EXIT(Run({}, [&] { return fromThread(), 0; }), ExitedWithCode(2), Named("setuid"));
    sigprocmask(SIG_SETMASK, &before, nullptr);
#ifdef __x86_64__
    constexpr long kX32 = 0x40000000, kGetpidOf32Bits = 20;
    EXPECT_EXIT(Run({}, [] { return syscall(kX32 | SYS_getpid) >= 0 ? 0 : 1; }), ExitedWithCode(2),
                Named("of another architecture"));
    const auto by32Bits = [] {
        long result = kGetpidOf32Bits;
        __asm__ volatile("int $0x80" : "+a"(result) : : "memory");
        return result > 0 ? 0 : 1;
    };
    EXPECT_EXIT(Run({}, by32Bits), ExitedWithCode(2), Named("of another architecture"));
#endif
}

TEST_F(SandboxDeathTest, WhatIsLeftWorks) {
    const auto use = [] {
        ifaddrs* list = nullptr;
        if (getifaddrs(&list) != 0) {
            return 10;
        }
        freeifaddrs(list);
        bool ran = false;
        std::thread([&ran] { ran = std::make_unique<std::array<char, 10 << 20>>() != nullptr; }).join();
        // The C library reads a system's settings, and does without them.
        return !ran ? 11 : open("/proc/self/status", O_RDONLY) >= 0 || errno != EACCES ? 12 : 0;
    };
    EXPECT_EXIT(Run({}, use), ExitedWithCode(0), "");
    EXPECT_EXIT(Run({.files = true}, [] { return rename("/nowhere", "/nor here") == 0 || errno != ENOENT; }),
                ExitedWithCode(0), "");
}

// A signal that somebody sends is no call that was made.
TEST_F(SandboxDeathTest, ItsSignalFromOutsideIsNotTakenForACall) {
    const auto receive = [] { return raise(SIGSYS); };
    EXPECT_EXIT(Run({}, receive), testing::KilledBySignal(SIGSYS), "^$");
}

} // namespace
} // namespace vnxtest
