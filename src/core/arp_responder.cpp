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
std::optional<ReceivedArp> AcceptRequest(const INTERFACE_INFO& info, std::span<std::uint8_t> frame,
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
    if (destination != info.guestMac && !destination.IsGroup()) {
        return std::nullopt;
    }
    return ReceivedArp{*ethernet, *arp};
}

} // namespace

bool HandleTapARPPacket(const INTERFACE_INFO& info, std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(info, frame, kEtherTypeArp, ArpOperation::Request);
    if (!request || request->arp.TargetProtocolAddress() != info.guestIp) {
        return false;
    }
    ArpView& arp = request->arp;
    request->ethernet.SetDestination(arp.SenderHardwareAddress());
    request->ethernet.SetSource(info.guestMac);
    arp.SetOperation(ArpOperation::Reply);
    arp.SetTargetHardwareAddress(arp.SenderHardwareAddress());
    arp.SetTargetProtocolAddress(arp.SenderProtocolAddress());
    arp.SetSenderHardwareAddress(info.guestMac);
    arp.SetSenderProtocolAddress(info.guestIp);
    LogMsg(L"** CVNXTestView(%s)::HandleTapARPPacket: WRITING ARP response...\n", info.name);
    return true;
}

bool HandleTapRARPPacket(const INTERFACE_INFO& info, std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(info, frame, kEtherTypeRarp, ArpOperation::ReverseRequest);
    if (!request || request->arp.TargetHardwareAddress() != info.guestMac) {
        return false;
    }
    // The guest names itself as its own RARP server: both protocol addresses carry its IP.
    ArpView& arp = request->arp;
    request->ethernet.SetDestination(arp.SenderHardwareAddress());
    request->ethernet.SetSource(info.guestMac);
    arp.SetOperation(ArpOperation::ReverseReply);
    arp.SetSenderHardwareAddress(info.guestMac);
    arp.SetSenderProtocolAddress(info.guestIp);
    arp.SetTargetProtocolAddress(info.guestIp);
    LogMsg(L"** CVNXTestView(%s)::HandleTapRARPPacket: WRITING RARP response...\n", info.name);
    return true;
}

} // namespace vnxtest
