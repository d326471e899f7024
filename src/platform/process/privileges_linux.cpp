#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <linux/capability.h>
#include <sys/auxv.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "open/helper.h"
#include "platform/process/privileges.h"
#include "platform/process/process_threads_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

int CapabilityOf(Privilege privilege) {
    return privilege == Privilege::Capture ? CAP_NET_RAW : CAP_NET_ADMIN;
}

bool HasCapability(Privilege privilege) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) {
        return geteuid() == 0;
    }
    const int capability = CapabilityOf(privilege);
    return (data[CAP_TO_INDEX(capability)].effective & CAP_TO_MASK(capability)) != 0;
}

// The kernel lets every user open it, but some systems restrict its file. If it does not exist, no right
// helps.
bool MayOpenTunDevice() {
    return access("/dev/net/tun", R_OK | W_OK) == 0 || errno != EACCES;
}

// Capabilities belong to a thread, so each thread must give up its own, in a signal handler. Set before the
// signal is sent.
std::uint64_t g_keptCapabilities = 0;

std::uint64_t MaskOf(std::initializer_list<int> capabilities) {
    std::uint64_t mask = 0;
    for (const int capability : capabilities) {
        mask |= std::uint64_t{1} << capability;
    }
    return mask;
}

// A signal handler: system calls only. Its effect is verified by the sender.
void GiveUpInThisThread(int) {
    const int code = errno;
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) == 0) {
        for (std::size_t word = 0; word < _LINUX_CAPABILITY_U32S_3; ++word) {
            const auto kept = static_cast<std::uint32_t>(g_keptCapabilities >> (32 * word));
            data[word].permitted &= kept;
            data[word].effective &= kept;
            data[word].inheritable = 0; // clears the ambient ones, too
        }
        syscall(SYS_capset, &header, data);
    }
    errno = code;
}

// By the kernel's answer: a thread that has ended holds nothing; one that the kernel does not tell about
// counts as holding more.
bool HoldsMore(pid_t thread) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, thread};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) {
        return errno != ESRCH;
    }
    bool more = false;
    for (std::size_t word = 0; word < _LINUX_CAPABILITY_U32S_3; ++word) {
        const auto kept = static_cast<std::uint32_t>(g_keptCapabilities >> (32 * word));
        more = more || (data[word].permitted & ~kept) != 0 || data[word].inheritable != 0;
    }
    return more;
}

std::vector<pid_t> ThreadsThatHoldMore() {
    std::vector<pid_t> threads = ThreadsOfThisProcess();
    std::erase_if(threads, [](pid_t thread) { return !HoldsMore(thread); });
    return threads;
}

// True if this thread's permitted set exceeds the ambient one. After execve(2) the difference comes from
// the program's file, except for root.
bool HoldsMoreThanAmbient() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, data) != 0) {
        return getauxval(AT_SECURE) != 0;
    }
    for (unsigned capability = 0; capability < 32 * _LINUX_CAPABILITY_U32S_3; ++capability) {
        if ((data[CAP_TO_INDEX(capability)].permitted & CAP_TO_MASK(capability)) != 0 &&
            prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_IS_SET, capability, 0, 0) != 1) {
            return true;
        }
    }
    return false;
}

// Signals these threads and waits for them. Leaves in `threads` those that still hold more after a second.
void AskToGiveUp(std::vector<pid_t>& threads, int signal) {
    using Clock = std::chrono::steady_clock;
    for (const pid_t thread : threads) {
        syscall(SYS_tgkill, getpid(), thread, signal);
    }
    for (const auto end = Clock::now() + std::chrono::seconds(1); Clock::now() < end;) {
        std::erase_if(threads, [](pid_t thread) { return !HoldsMore(thread); });
        if (threads.empty()) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

bool HasPrivilege(Privilege privilege) {
    return HasCapability(privilege) && (privilege == Privilege::Capture || MayOpenTunDevice());
}

Result<void> CheckRightsOfItsFile() {
    const bool setId = getuid() != geteuid() || getgid() != getegid();
    if (!setId && (getuid() == 0 || !HoldsMoreThanAmbient())) {
        return {};
    }
    const std::string program = ProgramPath();
    const std::string file = program.empty() ? "PROGRAM" : Quoted(program);
    return Refused(Sprintf(
        L"This program's file has been given rights that you do not have (%s). It does not run with them, for any code that you bring into it would get them, too. Take them away with\n    sudo %s\n"
        L"Its helper alone may have rights, and opens adapters for it:\n    %s",
        std::wstring(setId ? L"set-user-ID or set-group-ID" : L"capabilities"),
        FromUtf8((setId ? "chmod u-s,g-s " : "setcap -r ") + file), FromUtf8(HelperCommand(HelperPath()))));
}

bool MayOpen(Privilege privilege) {
    return HasPrivilege(privilege) || (StateOfHelper(HelperPath()) == HelperState::Ready &&
                                       (privilege == Privilege::Capture || MayOpenTunDevice()));
}

std::wstring HowToGrant(Privilege privilege) {
    if (privilege == Privilege::NetworkAdministration && !MayOpenTunDevice()) {
        return L"You may not open the device file /dev/net/tun. Open it to its users with\n"
               L"    sudo chmod a+rw /dev/net/tun\n"
               L"or run vnxtest-cli as root.";
    }
    return L"This program opens no adapter itself. " + FromUtf8(HowToReadyHelper(HelperPath()));
}

Result<void> GiveUpPrivileges(const KeptPrivileges& kept) {
    g_keptCapabilities = (kept.network ? MaskOf({CAP_NET_RAW, CAP_NET_ADMIN, CAP_SYS_NICE}) : 0) |
                         (kept.files && getuid() == 0 ? MaskOf({CAP_DAC_OVERRIDE, CAP_FOWNER}) : 0);
    const int signal = SIGRTMAX - 1;
    struct sigaction action {};
    action.sa_handler = GiveUpInThisThread;
    action.sa_flags = SA_RESTART;
    if (sigaction(signal, &action, nullptr) != 0) {
        auto failed = FailedCall(L"sigaction");
        const int code = failed.value().errnoValue;
        failed.value().text =
            Sprintf(L"Rights cannot be given up: sigaction failed; errno=%d: %s", code, StrError(code));
        return failed;
    }
    GiveUpInThisThread(signal);
    // Repeated until no thread holds more: a thread that another one started before its signal is found in
    // the next round.
    constexpr int kLooks = 10;
    std::vector<pid_t> threads;
    for (int look = 0; look < kLooks; ++look) {
        threads = ThreadsThatHoldMore();
        if (threads.empty()) {
            // A late signal must neither end the program nor make calls that are forbidden from here on.
            std::signal(signal, SIG_IGN);
            return {};
        }
        AskToGiveUp(threads, signal);
        if (!threads.empty()) {
            break;
        }
    }
    return Refused(Sprintf(
        L"The rights (capabilities) that are needed no more could not be given up by every thread of this program, and it does not go on with them. Thread %d still holds more.",
        threads.empty() ? 0 : static_cast<int>(threads.front())));
}

} // namespace vnxtest
