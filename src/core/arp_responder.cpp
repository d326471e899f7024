#include "core/arp_responder.h"

#include <optional>

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

struct ReceivedArp {
    EthernetView ethernet;
    ArpView arp;
};

// The frame as a request of this kind that the guest may have to answer, or nullopt.
std::optional<ReceivedArp> AcceptRequest(const InterfaceAddresses& guest, std::span<std::uint8_t> frame,
                                         std::uint16_t etherType, ArpOperation operation) {
    if (frame.size() < kArpFrameLength) {
        return std::nullopt;
    }
    const auto ethernet = EthernetView::Over(frame);
    const auto arp = ArpView::Over(frame.subspan(EthernetView::kLength));
    Verify(ethernet->EtherType() == etherType);
    if (!arp->IsEthernetIpv4() || arp->Operation() != operation) {
        return std::nullopt;
    }
    const MacAddress destination = ethernet->Destination();
    if (destination != guest.guestMac && !destination.IsGroup()) {
        return std::nullopt;
    }
    return ReceivedArp{*ethernet, *arp};
}

} // namespace

bool HandleTapARPPacket(const InterfaceAddresses& guest, const std::wstring& name,
                        std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(guest, frame, kEtherTypeArp, ArpOperation::Request);
    if (!request || request->arp.TargetProtocolAddress() != guest.guestIp) {
        return false;
    }
    ArpView& arp = request->arp;
    request->ethernet.SetDestination(arp.SenderHardwareAddress());
    request->ethernet.SetSource(guest.guestMac);
    arp.SetOperation(ArpOperation::Reply);
    arp.SetTargetHardwareAddress(arp.SenderHardwareAddress());
    arp.SetTargetProtocolAddress(arp.SenderProtocolAddress());
    arp.SetSenderHardwareAddress(guest.guestMac);
    arp.SetSenderProtocolAddress(guest.guestIp);
    LogMsg(L"** CVNXTestView(%s)::HandleTapARPPacket: WRITING ARP response...\n", name);
    return true;
}

bool HandleTapRARPPacket(const InterfaceAddresses& guest, const std::wstring& name,
                         std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(guest, frame, kEtherTypeRarp, ArpOperation::ReverseRequest);
    if (!request || request->arp.TargetHardwareAddress() != guest.guestMac) {
        return false;
    }
    // The guest names itself as its own RARP server: both protocol addresses carry its IP.
    ArpView& arp = request->arp;
    request->ethernet.SetDestination(arp.SenderHardwareAddress());
    request->ethernet.SetSource(guest.guestMac);
    arp.SetOperation(ArpOperation::ReverseReply);
    arp.SetSenderHardwareAddress(guest.guestMac);
    arp.SetSenderProtocolAddress(guest.guestIp);
    arp.SetTargetProtocolAddress(guest.guestIp);
    LogMsg(L"** CVNXTestView(%s)::HandleTapRARPPacket: WRITING RARP response...\n", name);
    return true;
}

} // namespace vnxtest
