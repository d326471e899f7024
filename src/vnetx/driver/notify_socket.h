// The handle of an interface in socket-notify mode: a real socket that select() and poll() find
// readable while frames wait.
//
// The program waits for the socket, reads until no frame is left, and ends a wait by shutting the socket
// down (Linux) or closing it (Windows). The library's end of the pair stays here.
#pragma once

#include <cstdint>
#include <memory>

namespace vnxtest {

class NotifySocket {
public:
    // A connected pair, or null with errno set.
    static std::unique_ptr<NotifySocket> Create();
    ~NotifySocket();
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    // The socket that is given to the program as the interface's handle.
    std::int32_t Handle() const { return m_program; }

    // The library's own end: a wait for it ends when the program shuts its socket down.
    std::intptr_t LibrarySide() const { return m_library; }

    // Makes the program's socket readable, and not readable again. The caller serialises the two
    // and calls Raise only after a Lower (or first of all).
    void Raise();
    void Lower();

    // True once the program has shut its socket down or closed it.
    bool IsShutDown() const;

private:
    NotifySocket(std::intptr_t program, std::intptr_t library);

    std::int32_t m_program;
    std::intptr_t m_library;
    // Windows: tells the program's socket from a later one with the same number.
    [[maybe_unused]] std::uint64_t m_identity;
};

} // namespace vnxtest
