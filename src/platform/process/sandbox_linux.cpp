#include "platform/process/sandbox.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <linux/if_packet.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// A sanitizer's own code makes calls that no other build does.
constexpr bool kSanitized = VNXTEST_SANITIZED;

// SYS_SECCOMP of sigaction(2), which the C library's header does not have.
constexpr int kSentByFilter = 1;

struct FilterDeleter {
    void operator()(void* filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, FilterDeleter>;

// The names of the system calls by number, prepared because a signal handler must not allocate.
std::array<std::array<char, 32>, 512> g_callNames{};
std::uint32_t g_architecture = 0; // this program's

void NoteCallNames() {
    g_architecture = seccomp_arch_native();
    for (std::size_t number = 0; number < g_callNames.size(); ++number) {
        const std::unique_ptr<char, decltype(&std::free)> name(
            seccomp_syscall_resolve_num_arch(SCMP_ARCH_NATIVE, static_cast<int>(number)), std::free);
        if (name) {
            std::strncpy(g_callNames[number].data(), name.get(), g_callNames[number].size() - 1);
        }
    }
}

// SIGSYS: the thread has made a forbidden call, which the kernel has not carried out. Makes allowed system
// calls only, and waits one second at most for a reader of standard error.
void EndForCall(int number, siginfo_t* info, void*) {
    if (info->si_code != kSentByFilter) {
        // Sent by another process: the program ends by it, as it would without a filter, when this returns.
        std::signal(number, SIG_DFL);
        raise(number);
        return;
    }
    // The names do not apply to numbers of another architecture (32-bit, x32).
    const auto call = static_cast<std::size_t>(info->si_syscall);
    const bool named = info->si_arch == g_architecture && call < g_callNames.size();
    char digits[16] = {};
    std::to_chars(digits, digits + sizeof digits - 1, info->si_syscall);
    char text[256] = {};
    std::size_t length = 0;
    const auto say = [&](const char* part) {
        const std::size_t size = strnlen(part, sizeof text - length);
        std::memcpy(text + length, part, size);
        length += size;
    };
    say("vnxtest-cli: Ended: the system call ");
    say(named ? g_callNames[call].data() : "of another architecture");
    say(" (");
    say(digits);
    say(") is not allowed to a running guest, and was not carried out. Please report this; the option --no-sandbox runs without this check.\n");
    pollfd room{STDERR_FILENO, POLLOUT, 0};
    if (poll(&room, 1, 1000) == 1) {
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, length);
    }
    _exit(2);
}

// A rule for a system call, with conditions on its arguments (none: any).
struct Rule {
    int call;
    std::vector<scmp_arg_cmp> arguments{};
    std::uint32_t action = SCMP_ACT_ALLOW;
};

scmp_arg_cmp Equals(unsigned argument, std::uint64_t value) {
    return {argument, SCMP_CMP_EQ, value, 0};
}

// The argument's bits within `mask` equal `value`.
scmp_arg_cmp HasBits(unsigned argument, std::uint64_t mask, std::uint64_t value) {
    return {argument, SCMP_CMP_MASKED_EQ, mask, value};
}

scmp_arg_cmp AtMost(unsigned argument, std::uint64_t value) {
    return {argument, SCMP_CMP_LE, value, 0};
}

std::vector<Rule> Freely(std::initializer_list<int> calls) {
    std::vector<Rule> rules;
    for (const int call : calls) {
        rules.push_back({call});
    }
    return rules;
}

// Memory, but none with execute permission.
std::vector<Rule> CallsForMemory() {
    std::vector<Rule> rules = Freely({SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise)});
    rules.push_back({SCMP_SYS(mmap), {HasBits(2, PROT_EXEC, 0)}});
    rules.push_back({SCMP_SYS(mprotect), {HasBits(2, PROT_EXEC, 0)}});
    return rules;
}

// Threads, but no process and no namespace.
std::vector<Rule> CallsForThreads() {
    std::vector<Rule> rules =
        Freely({SCMP_SYS(futex), SCMP_SYS(rseq), SCMP_SYS(set_robust_list), SCMP_SYS(set_tid_address),
                SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity), SCMP_SYS(getpid), SCMP_SYS(gettid),
                SCMP_SYS(getpriority), SCMP_SYS(setpriority), SCMP_SYS(exit), SCMP_SYS(exit_group)});
    // A filter cannot read the flags of clone3, which are in memory: without clone3 the C library uses
    // clone.
    constexpr std::uint64_t kNamespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC |
                                          CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET;
    rules.push_back({SCMP_SYS(clone), {HasBits(0, CLONE_THREAD | kNamespaces, CLONE_THREAD)}});
    rules.push_back({SCMP_SYS(clone3), {}, SCMP_ACT_ERRNO(ENOSYS)});
    return rules;
}

std::vector<Rule> CallsForSignalsAndTime() {
    std::vector<Rule> rules = Freely(
        {SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(rt_sigaction), SCMP_SYS(sigaltstack),
         SCMP_SYS(restart_syscall), SCMP_SYS(clock_gettime), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
         SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(getrandom)});
    rules.push_back({SCMP_SYS(tgkill), {Equals(0, static_cast<std::uint64_t>(getpid()))}}); // abort
    return rules;
}

// Descriptors that are open: nothing here opens a file.
std::vector<Rule> CallsOnDescriptors() {
    std::vector<Rule> rules =
        Freely({SCMP_SYS(read),       SCMP_SYS(readv),       SCMP_SYS(write),     SCMP_SYS(writev),
                SCMP_SYS(lseek),      SCMP_SYS(close),       SCMP_SYS(fstat),     SCMP_SYS(newfstatat),
                SCMP_SYS(poll),       SCMP_SYS(ppoll),       SCMP_SYS(select),    SCMP_SYS(pselect6),
                SCMP_SYS(epoll_wait), SCMP_SYS(epoll_pwait), SCMP_SYS(epoll_ctl), SCMP_SYS(eventfd2),
                SCMP_SYS(recvfrom),   SCMP_SYS(recvmsg),     SCMP_SYS(shutdown),  SCMP_SYS(getsockname),
                SCMP_SYS(getsockopt), SCMP_SYS(ftruncate)});
    for (const int command : {F_GETFD, F_SETFD, F_GETFL, F_SETFL}) {
        rules.push_back({SCMP_SYS(fcntl), {Equals(1, static_cast<std::uint64_t>(command))}});
    }
    return rules;
}

// The guest's frames, and queries about its adapter.
std::vector<Rule> CallsOfTheNetwork() {
    std::vector<Rule> rules;
    // An address of a packet socket (20 bytes) names an adapter and could reach another one than was
    // opened; one of netlink has 12 bytes. The address of sendmsg is in memory, so sendmsg is not allowed:
    // netlink/ uses sendto.
    constexpr std::uint64_t kNetlinkAddress = sizeof(sockaddr_nl);
    static_assert(kNetlinkAddress < sizeof(sockaddr_ll));
    rules.push_back({SCMP_SYS(sendto), {AtMost(5, kNetlinkAddress)}});
    rules.push_back({SCMP_SYS(bind), {AtMost(2, kNetlinkAddress)}});
    rules.push_back({SCMP_SYS(socket), {Equals(0, AF_NETLINK), Equals(2, NETLINK_ROUTE)}});
    for (const int option : {SO_SNDBUF, SO_RCVBUF}) {
        rules.push_back(
            {SCMP_SYS(setsockopt), {Equals(1, SOL_SOCKET), Equals(2, static_cast<std::uint64_t>(option))}});
    }
    // Whether standard error is a terminal, its width, and an adapter's name and state.
    for (const int request : {TCGETS, TIOCGWINSZ, SIOCGIFNAME, SIOCGIFFLAGS}) {
        rules.push_back({SCMP_SYS(ioctl), {Equals(1, static_cast<std::uint64_t>(request))}});
    }
    return rules;
}

// Moving open files into place. Opening another one for reading fails with EACCES
// instead of ending the program: the C library looks for settings in files and does without.
std::vector<Rule> CallsOnFiles(bool save) {
    constexpr std::uint64_t kToWrite = O_ACCMODE | O_CREAT | O_TRUNC;
    std::vector<Rule> rules = save ? Freely({SCMP_SYS(fsync), SCMP_SYS(fdatasync), SCMP_SYS(rename),
                                             SCMP_SYS(renameat), SCMP_SYS(renameat2), SCMP_SYS(link),
                                             SCMP_SYS(linkat), SCMP_SYS(unlink), SCMP_SYS(unlinkat)})
                                   : std::vector<Rule>();
    rules.push_back({SCMP_SYS(openat), {HasBits(2, kToWrite, O_RDONLY)}, SCMP_ACT_ERRNO(EACCES)});
    rules.push_back({SCMP_SYS(open), {HasBits(1, kToWrite, O_RDONLY)}, SCMP_ACT_ERRNO(EACCES)});
    return rules;
}

int AddRules(void* filter, const std::vector<Rule>& rules) {
    for (const Rule& rule : rules) {
        // A negative number: the architecture has no such call.
        const int code = rule.call < 0 ? 0
                                       : seccomp_rule_add_array(filter, rule.action, rule.call,
                                                                static_cast<unsigned>(rule.arguments.size()),
                                                                rule.arguments.data());
        if (code != 0) {
            return code;
        }
    }
    return 0;
}

// 0, or a negative errno value.
int Load(void* filter, const SandboxNeeds& needs) {
    int code = 0;
    const auto then = [&code](int next) { code = code != 0 ? code : next; };
    // In all threads of the process or in none; no_new_privs likewise.
    then(seccomp_attr_set(filter, SCMP_FLTATR_CTL_NNP, 1));
    then(seccomp_attr_set(filter, SCMP_FLTATR_CTL_TSYNC, 1));
    then(seccomp_attr_set(filter, SCMP_FLTATR_API_SYSRAWRC, 1));
    if (!needs.everything) {
        then(seccomp_attr_set(filter, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_TRAP));
        // A guest under load sends and does little else: that call is looked for first. Only a hint, so that
        // a failure means nothing.
        seccomp_syscall_priority(filter, SCMP_SYS(sendto), UINT8_MAX);
        then(AddRules(filter, CallsForMemory()));
        then(AddRules(filter, CallsForThreads()));
        then(AddRules(filter, CallsForSignalsAndTime()));
        then(AddRules(filter, CallsOnDescriptors()));
        then(AddRules(filter, CallsOfTheNetwork()));
        then(AddRules(filter, CallsOnFiles(needs.files)));
    }
    then(code != 0 ? 0 : seccomp_load(filter));
    return code;
}

} // namespace

bool HasSandbox() {
    return true;
}

void PrepareSandbox() {
    sigset_t itsSignal{};
    sigemptyset(&itsSignal);
    sigaddset(&itsSignal, SIGSYS);
    pthread_sigmask(SIG_UNBLOCK, &itsSignal, nullptr);
}

Result<void> EnterSandbox(const SandboxNeeds& wanted) {
    SandboxNeeds needs = wanted;
    needs.everything = wanted.everything || kSanitized;
    if (!needs.everything) {
        NoteCallNames();
        struct sigaction action {};
        action.sa_sigaction = EndForCall;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSYS, &action, nullptr);
    }
    const Filter filter(seccomp_init(needs.everything ? SCMP_ACT_ALLOW : SCMP_ACT_TRAP));
    const int code = filter ? -Load(filter.get(), needs) : ENOMEM;
    if (code != 0) {
        auto failed = FailedCall(L"seccomp", static_cast<std::uint32_t>(code));
        failed.value().text = Sprintf(
            L"The system calls that are needed no more could not be given up, and the program does not go on with them: seccomp failed; errno=%d: %s\nThe option --no-sandbox runs without this.",
            code, StrError(code));
        return failed;
    }
    return {};
}

} // namespace vnxtest
