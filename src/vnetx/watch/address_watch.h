// Whether another station of the wire uses the guest's IP address or its MAC (RFC 5227).
//
// When an interface comes up one ARP probe asks for the guest's address (section 2.1.1). Nothing waits for
// the answer, and nothing is refused because of it: the start goes on, and the answer is taken out of the
// frames that are read, before they are counted. Afterwards an ARP packet of another station that names the
// guest's address as its sender's is a conflict, too (section 2.4).
//
// A frame from the guest's own MAC is mostly one of its own that a wire has brought back. It tells of another
// station only if the guest cannot have sent it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>

#include "packets/arp_packet.h"
#include "vnetx/wire_facts.h"

namespace vnxtest {

class AddressWatch {
public:
    using Clock = std::chrono::steady_clock;
    // How long an answer to the probe is looked for.
    static constexpr auto kProbeTime = std::chrono::seconds(1);

    // `host` is the MAC of the adapter: the host, which some captures show, too, is no other station. `now`
    // is the clock; tests bring their own.
    explicit AddressWatch(
        MacAddress host, std::function<Clock::time_point()> now = [] { return Clock::now(); })
        : m_host(host), m_now(std::move(now)) {}

    // The functions up to AddTo() are called under the reading lock.

    // The interface comes up with these addresses: the probe to be sent now, to the broadcast address.
    // Nullopt if one of them is not set.
    std::optional<ArpFrame> Begin(MacAddress mac, Ipv4Address address);
    // True if `frame` exists only because of the probe: its answer, which is noted, or the probe itself.
    bool Takes(std::span<const std::uint8_t> frame);
    // An ARP packet from the wire.
    void HearArp(const ConstArpView& arp);
    // A frame from the wire whose source is the guest's MAC.
    void HearOwnMac(std::span<const std::uint8_t> frame);

    // Fills the two conflicts of `facts`. Any thread.
    void AddTo(WireFacts& facts) const;

private:
    bool IsFromProbe(std::span<const std::uint8_t> frame);
    void NoteAddress(MacAddress by, bool probed);
    std::chrono::milliseconds SinceBegin() const;

    const MacAddress m_host;
    const std::function<Clock::time_point()> m_now;
    MacAddress m_mac;
    Ipv4Address m_address;
    Clock::time_point m_begin{}; // of the first Begin()
    bool m_begun = false;
    Clock::time_point m_probed{};
    bool m_probing = false;

    mutable std::mutex m_mutex; // of the two below
    std::optional<AddressInUse> m_addressInUse;
    std::optional<MacInUse> m_macInUse;
};

} // namespace vnxtest
