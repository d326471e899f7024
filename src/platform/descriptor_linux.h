// A file descriptor that is closed with its owner.
#pragma once

#include <utility>

#include <unistd.h>

namespace vnxtest {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int value) : m_value(value) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : m_value(std::exchange(other.m_value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }

    bool IsOpen() const { return m_value >= 0; }
    int Get() const { return m_value; }
    // False with errno when the system reports a failure; closed it is all the same.
    bool Close() { return m_value < 0 || close(std::exchange(m_value, -1)) == 0; }

private:
    int m_value = -1;
};

} // namespace vnxtest
