#include <cerrno>
#include <winsock2.h>

#include "vnetx/driver/notify_socket.h"
#include "wrenlib/errors.h"

namespace vnxtest {

namespace {

// Winsock for the life of the process; starting it is cheap once it runs.
bool StartWinsock() {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

// The local port of a socket, or 0 if it is none (any more).
std::uint64_t LocalPort(SOCKET socket) {
    sockaddr_in name{};
    int length = sizeof name;
    return getsockname(socket, reinterpret_cast<sockaddr*>(&name), &length) == 0 ? name.sin_port : 0u;
}

class SocketHolder {
public:
    explicit SocketHolder(SOCKET socket) : m_socket(socket) {}
    ~SocketHolder() {
        if (m_socket != INVALID_SOCKET) {
            closesocket(m_socket);
        }
    }
    SocketHolder(const SocketHolder&) = delete;
    SocketHolder& operator=(const SocketHolder&) = delete;
    SOCKET Get() const { return m_socket; }
    SOCKET Release() {
        const SOCKET socket = m_socket;
        m_socket = INVALID_SOCKET;
        return socket;
    }

private:
    SOCKET m_socket;
};

} // namespace

std::unique_ptr<NotifySocket> NotifySocket::Create() {
    // There is no socketpair: two loopback TCP sockets are connected through a listener.
    errno = EIO;
    if (!StartWinsock()) {
        return nullptr;
    }
    SocketHolder listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (listener.Get() == INVALID_SOCKET ||
        bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        listen(listener.Get(), 1) != 0) {
        return nullptr;
    }
    SocketHolder program(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (program.Get() == INVALID_SOCKET ||
        connect(program.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        return nullptr;
    }
    // Another process may have connected to the listener meanwhile: accept only our own end.
    sockaddr_in peer{};
    int peerLength = sizeof peer;
    SocketHolder library(accept(listener.Get(), reinterpret_cast<sockaddr*>(&peer), &peerLength));
    u_long nonBlocking = 1;
    if (library.Get() == INVALID_SOCKET || peer.sin_port != LocalPort(program.Get()) ||
        ioctlsocket(program.Get(), FIONBIO, &nonBlocking) != 0 ||
        ioctlsocket(library.Get(), FIONBIO, &nonBlocking) != 0) {
        return nullptr;
    }
    const BOOL noDelay = TRUE;
    setsockopt(library.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay),
               sizeof noDelay);
    errno = 0;
    return std::unique_ptr<NotifySocket>(new NotifySocket(static_cast<std::intptr_t>(program.Release()),
                                                          static_cast<std::intptr_t>(library.Release())));
}

NotifySocket::NotifySocket(std::intptr_t program, std::intptr_t library)
    : m_program(static_cast<std::int32_t>(program)), m_library(library),
      m_identity(LocalPort(static_cast<SOCKET>(program))) {}

NotifySocket::~NotifySocket() {
    // The program may have closed its socket to end a wait, and the number may be another's by now.
    const auto program = static_cast<SOCKET>(m_program);
    if (LocalPort(program) == m_identity) {
        closesocket(program);
    }
    closesocket(static_cast<SOCKET>(m_library));
}

void NotifySocket::Raise() {
    const ErrorKeeper keeper;
    const char byte = 1;
    send(static_cast<SOCKET>(m_library), &byte, 1, 0);
}

void NotifySocket::Lower() {
    const ErrorKeeper keeper;
    const auto program = static_cast<SOCKET>(m_program);
    if (LocalPort(program) == m_identity) {
        char bytes[16];
        recv(program, bytes, sizeof bytes, 0);
    }
}

bool NotifySocket::IsShutDown() const {
    const ErrorKeeper keeper;
    char byte;
    const int taken = recv(static_cast<SOCKET>(m_library), &byte, 1, MSG_PEEK);
    return taken == 0 || (taken < 0 && WSAGetLastError() != WSAEWOULDBLOCK);
}

} // namespace vnxtest
