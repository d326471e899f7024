#include "core/arp_responder.h"

#include <optional>

#include "core/output_channel.h"
#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/reply_scope.h"
#include "wrenlib/errors.h"

namespace vnxtest {

namespace {

struct ReceivedArp {
    EthernetView ethernet;
    ArpView arp;
};

// The frame as a request of this kind that the guest may have to answer, or nothing.
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

// True when the reply was written, to somebody: a library need not send any other.
bool WriteReply(INTERFACE_INFO& info, VnetxLibrary& library, std::span<std::uint8_t> frame,
                const wchar_t* function) {
    const std::int32_t written =
        library.Write(info.handle.load(std::memory_order_relaxed), frame.data(), kArpFrameLength);
    if (written == static_cast<std::int32_t>(kArpFrameLength)) {
        return !IsReplyToNobody(frame.first(kArpFrameLength), true, ReplyScopeOf(info));
    }
    const SavedErrors& saved = SaveErrors();
    LogMsg(L"** CVNXTestView(%s)::%s: vnetx32_write failed; rc=%d: %s\n", info.name, function,
           saved.lastError, FormatLastError(saved.lastError));
    RestoreSavedErrors();
    return false;
}

void Count(std::atomic<std::uint64_t>& counter) {
    counter.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

void HandleTapARPPacket(INTERFACE_INFO& info, VnetxLibrary& library, std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(info, frame, kEtherTypeArp, ArpOperation::Request);
    if (!request || request->arp.TargetProtocolAddress() != info.guestIp) {
        return;
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
    if (WriteReply(info, library, frame, L"HandleTapARPPacket")) {
        Count(info.counters.arpRequestsAnswered);
    }
}

void HandleTapRARPPacket(INTERFACE_INFO& info, VnetxLibrary& library, std::span<std::uint8_t> frame) {
    auto request = AcceptRequest(info, frame, kEtherTypeRarp, ArpOperation::ReverseRequest);
    if (!request || request->arp.TargetHardwareAddress() != info.guestMac) {
        return;
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
    if (WriteReply(info, library, frame, L"HandleTapRARPPacket")) {
        Count(info.counters.rarpRequestsAnswered);
    }
}

} // namespace vnxtest
