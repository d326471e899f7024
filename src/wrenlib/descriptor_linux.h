// A file descriptor that closes itself.
#pragma once

#include <utility>

#include <unistd.h>

namespace vnxtest {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const { return m_descriptor; }
    bool IsOpen() const { return m_descriptor >= 0; }
    explicit operator bool() const { return IsOpen(); }
    // Hands the descriptor over to the caller.
    int Release() { return std::exchange(m_descriptor, -1); }
    // False with errno if close(2) reports a failure; the descriptor is closed all the same.
    bool Close() { return m_descriptor < 0 || close(std::exchange(m_descriptor, -1)) == 0; }

private:
    int m_descriptor = -1;
};

} // namespace vnxtest
