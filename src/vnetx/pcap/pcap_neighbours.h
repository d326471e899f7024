// The neighbours of a guest on an adapter's network: those it has heard, the host's own adapters, those it
// asks for.
#pragma once

#include <memory>
#include <string>

#include "packets/arp_packet.h"
#include "vnetx/driver/driver.h"
#include "vnetx/host/recent_host_links.h"
#include "vnetx/pcap/arp_resolver.h"
#include "vnetx/watch/neighbours.h"

namespace vnxtest {

class PcapNeighbours final : public Neighbourhood {
public:
    PcapNeighbours(InterfaceState& state, std::uint32_t linkIndex) : m_state(state), m_linkIndex(linkIndex) {}

    // Called first, as ArpResolver::Open. 0 or an errno value.
    int Open(const std::string& device, ArpResolver::SentFunction sent,
             const std::function<void(const std::string&)>& tell);

    // Zero if not found. A question is sent only once the guest's MAC is known; a reading thread does not
    // wait for the answer.
    MacAddress FindMac(Ipv4Address address) override;
    Ipv4Address FindIp(MacAddress mac) override;

    // TAP: learns the sender of an ARP packet from the wire. True if it is the answer to a question of the
    // library's own, sent as the guest `mac`, which the program did not ask.
    bool HearArp(const ConstArpView& arp, MacAddress mac);

    NeighbourTable& Table() { return m_table; }
    ArpResolver& Resolver() { return *m_resolver; }
    RecentHostLinks& HostLinks() { return m_hostLinks; }
    // The resolver's captures, to be closed; empty without a resolver.
    std::vector<std::unique_ptr<Capture>> TakeCaptures();

private:
    ArpResolver::Asker Asker() const { return {m_state.settings.GuestMac(), m_state.settings.guestIp.Get()}; }

    InterfaceState& m_state;
    const std::uint32_t m_linkIndex;
    NeighbourTable m_table;
    RecentHostLinks m_hostLinks;
    std::unique_ptr<ArpResolver> m_resolver;
};

} // namespace vnxtest
