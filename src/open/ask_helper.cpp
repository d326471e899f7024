#include "open/ask_helper.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "open/helper.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

constexpr int kPatienceMs = 15000; // more than the helper gives itself

NoValue HelperFailed(int code, const std::string& problem) {
    auto failed = FailedCall(L"vnxtest-open", static_cast<std::uint32_t>(code));
    failed.value().text = FromUtf8(problem);
    return failed;
}

// The attributes for posix_spawn(3): the socket as descriptor 3, /dev/null below it, no signal blocked or
// ignored.
class SpawnPlan {
public:
    explicit SpawnPlan(int socket) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_adddup2(&m_actions, socket, kHelperSocket);
        for (int standard = 0; standard < kHelperSocket; ++standard) {
            posix_spawn_file_actions_addopen(&m_actions, standard, "/dev/null", O_RDWR, 0);
        }
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnPlan() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    // 0 or an errno value.
    int Spawn(const std::string& path, pid_t& process) const {
        std::array<char, 13> name{"vnxtest-open"};
        char* const arguments[] = {name.data(), nullptr};
        char* const environment[] = {nullptr};
        return posix_spawn(&process, path.c_str(), &m_actions, &m_attributes, arguments, environment);
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

// The process of a helper, which does not outlive this object.
class HelperProcess {
public:
    explicit HelperProcess(pid_t process) : m_process(process) {}
    ~HelperProcess() {
        kill(m_process, SIGKILL); // it has answered, or will not
        while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

private:
    const pid_t m_process;
};

// The answer and the descriptor that came with it; false if there is none, or not of this version.
bool ReceiveAnswer(int socket, OpenAnswer& answer, Descriptor& descriptor) {
    pollfd wait{socket, POLLIN, 0};
    int ready = 0;
    while ((ready = poll(&wait, 1, kPatienceMs)) < 0 && errno == EINTR) {
    }
    iovec bytes{&answer, sizeof answer};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    if (ready != 1 || recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != static_cast<ssize_t>(sizeof answer)) {
        return false;
    }
    if (const cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS) {
        int number = -1;
        std::memcpy(&number, CMSG_DATA(header), sizeof number);
        descriptor = Descriptor(number);
    }
    return answer.magic == kOpenMagic && answer.version == kOpenVersion &&
           static_cast<bool>(descriptor) == (answer.error == 0);
}

std::string Explain(const OpenAnswer& answer, const std::string& path) {
    if (answer.refusal != Refusal::None) {
        return "The helper has refused it. " + Explain(answer.refusal);
    }
    const std::string call(answer.call.data(), strnlen(answer.call.data(), answer.call.size()));
    if (call == "capset") {
        return HowToReadyHelper(path);
    }
    if (call == "/dev/net/tun" && (answer.error == EACCES || answer.error == EPERM)) {
        return "You may not open the device file /dev/net/tun. Open it to its users with\n    sudo chmod a+rw /dev/net/tun";
    }
    const bool ofAdapter = call == "adapter";
    return ofAdapter ? std::string()
                     : fmt::format("The helper's {} failed: {}.", call, std::strerror(answer.error));
}

} // namespace

AdapterName ToAdapterName(const std::string& name) {
    AdapterName result{};
    if (name.size() < result.size()) {
        std::copy(name.begin(), name.end(), result.begin());
    }
    return result;
}

Result<Descriptor> AskHelper(const OpenRequest& request) {
    const std::string path = HelperPath();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return FailedCall(L"socketpair");
    }
    const Descriptor own(ends[0]);
    Descriptor helpers(ends[1]);
    pid_t process = 0;
    if (const int code = SpawnPlan(helpers.Get()).Spawn(path, process); code != 0) {
        const std::string advice = HowToReadyHelper(path);
        return HelperFailed(EPERM, !advice.empty() ? advice
                                                   : fmt::format("Its helper {} cannot be run: {}.", path,
                                                                 std::strerror(code)));
    }
    const HelperProcess running(process);
    helpers = Descriptor(); // so that its end is seen
    OpenAnswer answer;
    Descriptor descriptor;
    if (send(own.Get(), &request, sizeof request, MSG_NOSIGNAL) != static_cast<ssize_t>(sizeof request) ||
        !ReceiveAnswer(own.Get(), answer, descriptor)) {
        return HelperFailed(EPERM, fmt::format("Its helper {} has ended without an answer.", path));
    }
    if (answer.error != 0) {
        return HelperFailed(answer.error, Explain(answer, path));
    }
    return descriptor;
}

} // namespace vnxtest
