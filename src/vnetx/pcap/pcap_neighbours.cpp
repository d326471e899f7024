#include "vnetx/pcap/pcap_neighbours.h"

#include <cerrno>

#include "packets/reply_scope.h"
#include "vnetx/host/host_links.h"

namespace vnxtest {

int PcapNeighbours::Open(const std::string& device, ArpResolver::SentFunction sent,
                         const std::function<void(const std::string&)>& tell) {
    m_resolver = ArpResolver::Open(device, m_table, std::move(sent), tell);
    return m_resolver ? 0 : errno;
}

std::vector<std::unique_ptr<Capture>> PcapNeighbours::TakeCaptures() {
    return m_resolver ? m_resolver->TakeCaptures() : std::vector<std::unique_ptr<Capture>>();
}

MacAddress PcapNeighbours::FindMac(Ipv4Address address) {
    if (address.IsZero()) {
        return {};
    }
    using State = NeighbourTable::State;
    const NeighbourTable::Answer known = m_table.Find(address);
    if (known.state == State::Known) {
        if (known.refresh) {
            m_resolver->Ask(Asker(), address);
        }
        return known.mac;
    }
    if (const auto mac = reading_thread::SenderOf(m_state.reader, address)) {
        return *mac;
    }
    if (known.state == State::Unknown) {
        if (const auto link = m_hostLinks.Find(address)) {
            return link->mac;
        }
        if (address == m_state.settings.guestIp.Get()) {
            return m_state.settings.GuestMac();
        }
    }
    if (m_state.settings.GuestMac().IsZero()) {
        return {};
    }
    if (!reading_thread::IsOne()) {
        return m_resolver->Resolve(Asker(), address);
    }
    // The answer is read like any frame; until then, or for kSilence without one, it is not asked for
    // again.
    if (known.state == State::Unknown && m_resolver->Ask(Asker(), address)) {
        m_table.NoteSilence(address);
    }
    return {};
}

Ipv4Address PcapNeighbours::FindIp(MacAddress mac) {
    const bool reading = reading_thread::IsOne();
    auto link = m_hostLinks.FindByIndex(m_linkIndex);
    if ((!link || link->mac != mac) && !reading) {
        link = FindHostLink(mac);
    }
    if (link && link->mac == mac && !link->addresses.empty()) {
        return link->addresses.front().address;
    }
    if (mac == m_state.settings.GuestMac()) {
        return m_state.settings.guestIp.Get();
    }
    if (reading) {
        return m_table.FindByMac(mac);
    }
    return m_state.settings.GuestMac().IsZero() ? Ipv4Address() : m_resolver->ResolveReverse(Asker(), mac);
}

bool PcapNeighbours::HearArp(const ConstArpView& arp, MacAddress mac) {
    const MacAddress senderMac = arp.SenderHardwareAddress();
    const Ipv4Address senderIp = arp.SenderProtocolAddress();
    if (IsAnotherStation(senderMac, mac) && IsAnotherHost(senderIp, m_state.settings.Scope())) {
        if (arp.TargetProtocolAddress() == m_state.settings.guestIp.Get()) {
            m_table.Learn(senderIp, senderMac);
        } else {
            m_table.Update(senderIp, senderMac);
        }
    }
    return arp.Operation() == ArpOperation::Reply && arp.TargetHardwareAddress() == mac &&
           m_resolver->HasAsked(senderIp);
}

} // namespace vnxtest
