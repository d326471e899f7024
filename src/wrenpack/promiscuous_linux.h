// Whether an adapter can be put into promiscuous mode, found out by doing it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vnxtest {

// One packet socket that serves all adapters; it receives nothing.
class PromiscuousProbe {
public:
    PromiscuousProbe();
    ~PromiscuousProbe();
    PromiscuousProbe(const PromiscuousProbe&) = delete;
    PromiscuousProbe& operator=(const PromiscuousProbe&) = delete;

    // Puts the adapter of this name and index into promiscuous mode and back. A wireless station is never
    // capable of it, for its access point hands it its own frames only, whatever the driver promises. Where
    // packet sockets are not allowed, an adapter that others put into that mode (`isPromiscuous`) is capable
    // of it; of all others nothing is known: nullopt.
    std::optional<bool> IsCapable(const std::string& name, std::uint32_t index, bool isPromiscuous) const;

private:
    int m_packets;
    int m_requests; // for ioctl
};

} // namespace vnxtest
