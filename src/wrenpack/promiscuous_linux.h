// Whether an adapter supports promiscuous mode, found out by trying. One thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vnxtest {

// One packet socket that serves all adapters, from the first on; it receives nothing.
class PromiscuousProbe {
public:
    PromiscuousProbe();
    ~PromiscuousProbe();
    PromiscuousProbe(const PromiscuousProbe&) = delete;
    PromiscuousProbe& operator=(const PromiscuousProbe&) = delete;

    // Puts the adapter of this name and index into promiscuous mode and back. False for a wireless adapter,
    // which gets its own frames only, whatever the driver reports. If packet sockets are not allowed: true
    // for an adapter that is promiscuous already (`isPromiscuous`), else nullopt.
    std::optional<bool> IsCapable(const std::string& name, std::uint32_t index, bool isPromiscuous);

private:
    int m_packets = -1;
    bool m_asked = false; // for the packet socket
    int m_requests;       // for ioctl
};

} // namespace vnxtest
