// A built-in library's own debug output: what the debug flags select, as lines for the callback.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "vnetx/vnetx.h"

namespace vnxtest {

// The lines of one interface. Any thread; each call hands one text of whole lines to the callback.
class DebugLines {
public:
    // `sink` is the library's registered callback; it must outlive this object.
    explicit DebugLines(const std::atomic<VnetxDebugOutput>& sink) : m_sink(sink) {}

    // The flags in force: those of TUNSETDEBUG while IFF_DEBUG is set, else none.
    void SetFlags(std::uint32_t flags) { m_flags.store(flags, std::memory_order_relaxed); }
    bool IsOn(std::uint32_t flag) const { return (m_flags.load(std::memory_order_relaxed) & flag) != 0; }

    // A whole line, whatever flags are in force.
    void Tell(const std::string& line) const { Put(line + "\n"); }
    // Why `what` could not be opened, in whole sentences, whatever flags are in force.
    void TellRefusal(const std::string& what, const std::string& why) const {
        Tell("** " + what + " may not be opened by this program itself. " + why);
    }
    // One line with the old and the new value of a setting, if the flags ask for it.
    void Change(std::string_view interfaceName, std::string_view setting, std::string_view oldValue,
                std::string_view newValue) const;
    // A packet read or written, if the flags ask for its kind, with its bytes if they ask for those.
    // `ethernet`: it starts with an Ethernet header; otherwise it is bare IPv4.
    void PacketRead(std::string_view interfaceName, std::span<const std::uint8_t> packet,
                    bool ethernet) const {
        if (m_flags.load(std::memory_order_relaxed) != 0) {
            Packet(interfaceName, packet, ethernet, VNETX_DEBUG_ARP_READ, VNETX_DEBUG_OTHER_READ, "read");
        }
    }
    void PacketWritten(std::string_view interfaceName, std::span<const std::uint8_t> packet,
                       bool ethernet) const {
        if (m_flags.load(std::memory_order_relaxed) != 0) {
            Packet(interfaceName, packet, ethernet, VNETX_DEBUG_ARP_WRITTEN, VNETX_DEBUG_OTHER_WRITTEN,
                   "written");
        }
    }

private:
    void Packet(std::string_view interfaceName, std::span<const std::uint8_t> packet, bool ethernet,
                std::uint32_t arpFlag, std::uint32_t otherFlag, std::string_view verb) const;
    void Put(const std::string& text) const;

    const std::atomic<VnetxDebugOutput>& m_sink;
    std::atomic<std::uint32_t> m_flags{0};
};

} // namespace vnxtest
