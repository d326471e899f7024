#include "ping/receive_path.h"

#include "core/arp_responder.h"
#include "core/frame_verdict.h"
#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "packets/reply_scope.h"
#include "ping/echo_request.h"
#include "ping/ignored_kind.h"
#include "ping/ping_texts.h"
#include "vnetx/frame_arrival.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

constexpr std::size_t kSmallestPacket = kPingHeaders + 1;

// Both checksums of an echo message, computed by the library over the packet with both fields zero. The
// received values are restored.
struct Checksums {
    bool ipGood = false;
    bool icmpGood = false;
};

Checksums CheckChecksums(VnetxLibrary& library, Ipv4View ip, IcmpEchoView icmp,
                         std::span<std::uint8_t> message) {
    const std::uint16_t ipReceived = ip.Checksum();
    const std::uint16_t icmpReceived = icmp.Checksum();
    ip.SetChecksum(0);
    icmp.SetChecksum(0);
    Checksums result;
    result.ipGood = library.CalcInetChecksum(ip.Bytes().data(), Ipv4View::kLength) == ipReceived;
    result.icmpGood =
        library.CalcInetChecksum(message.data(), static_cast<std::uint32_t>(message.size())) == icmpReceived;
    ip.SetChecksum(ipReceived);
    icmp.SetChecksum(icmpReceived);
    return result;
}

// `icmp` was a request with the right checksum, which follows from that without another sum over the message
// (RFC 1624, equation 3). Two sums are the same there, 0 and 0xFFFF: a message that gets 0 may be one of
// zeroes.
void SetReplyChecksum(VnetxLibrary& library, IcmpEchoView icmp, std::span<const std::uint8_t> message) {
    constexpr std::uint32_t kTypesGone = 0xFFFF - (kIcmpEchoRequest << 8);
    const std::uint32_t sum = (0xFFFFu - icmp.Checksum()) + kTypesGone;
    icmp.SetChecksum(static_cast<std::uint16_t>(~((sum & 0xFFFF) + (sum >> 16))));
    if (icmp.Checksum() == 0) {
        icmp.SetChecksum(
            library.CalcInetChecksum(message.data(), static_cast<std::uint32_t>(message.size())));
    }
}

// The ICMP message by the IP header's total length, but never more than was received.
std::span<std::uint8_t> IcmpMessage(std::span<std::uint8_t> packet, std::uint16_t totalLength) {
    const std::size_t length = std::clamp<std::size_t>(totalLength, kPingHeaders, packet.size());
    return packet.subspan(Ipv4View::kLength, length - Ipv4View::kLength);
}

// Counts an answer to a single station: a library need not send any other.
void CountAnswer(std::atomic<std::uint64_t>& counter, INTERFACE_INFO& info,
                 std::span<const std::uint8_t> written) {
    if (!IsReplyToNobody(written, info.asked.tapMode, ReplyScopeOf(info.addresses))) {
        counter.fetch_add(1, std::memory_order_relaxed);
    }
}

void TellAnswered(const INTERFACE_INFO& info, bool written) {
    TellRead(info.open.Handle(), {.fate = written ? FrameFate::Answered : FrameFate::AnswerFailed});
}

} // namespace

ReceivePath::ReceivePath(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run,
                         PingTest& pingTest)
    : m_library(library), m_writer(writer), m_run(run), m_pingTest(pingTest) {}

void ReceivePath::HandleReceivedPacket(INTERFACE_INFO& info, ReceivedPacket packet) {
    if (!info.asked.tapMode) {
        HandleIpPacket(info, packet);
        return;
    }
    const auto ethernet = EthernetView::Over(packet.Bytes());
    if (!ethernet) {
        IgnorePacket(info, IgnoreReason::TooTiny, packet);
        return;
    }
    switch (ethernet->EtherType()) {
    case kEtherTypeIpv4:
        HandleIpPacket(info, packet.Behind(EthernetView::kLength));
        break;
    case kEtherTypeArp:
        AnswerArp(info, packet);
        break;
    case kEtherTypeRarp:
        AnswerRarp(info, packet);
        break;
    default:
        IgnorePacket(info, IgnoreReason::UnknownPacket, packet);
    }
}

void ReceivePath::HandleIpPacket(INTERFACE_INFO& info, ReceivedPacket packet) {
    const std::span<std::uint8_t> bytes = packet.Bytes();
    if (bytes.size() < kSmallestPacket) {
        return IgnorePacket(info, IgnoreReason::TooTiny, packet);
    }
    const Ipv4View ip = *Ipv4View::Over(bytes);
    const IcmpEchoView icmp = *IcmpEchoView::Over(bytes.subspan(Ipv4View::kLength));
    if (ip.LooksFragmented()) {
        return IgnorePacket(info, IgnoreReason::Fragmented, packet);
    }
    if (ip.Version() != 4) {
        return IgnorePacket(info, IgnoreReason::BadIpVersion, packet);
    }
    if (ip.HeaderLength() != Ipv4View::kLength / 4) {
        return IgnorePacket(info, IgnoreReason::BadIpHeaderLength, packet);
    }
    if (ip.Protocol() != kIpProtocolIcmp) {
        return IgnorePacket(info, IgnoreReason::NotIcmp, packet);
    }
    if (icmp.Type() != kIcmpEchoRequest && icmp.Type() != kIcmpEchoReply) {
        return IgnorePacket(info, IgnoreReason::NotPing, packet);
    }
    if (icmp.Code() != 0) {
        return IgnorePacket(info, IgnoreReason::BadIcmpCode, packet);
    }
    const std::uint16_t totalLength = ip.TotalLength();
    Verify(totalLength == bytes.size() && totalLength >= kPingHeaders);
    const std::span<std::uint8_t> message = IcmpMessage(bytes, totalLength);
    const Checksums checksums = CheckChecksums(m_library, ip, icmp, message);
    if (!checksums.ipGood) {
        return IgnorePacket(info, IgnoreReason::BadIpChecksum, packet);
    }
    if (!checksums.icmpGood) {
        return IgnorePacket(info, IgnoreReason::BadIcmpChecksum, packet);
    }
    const bool forUs = ip.Destination() == info.addresses.guestIp;
    if (icmp.Type() == kIcmpEchoRequest) {
        return forUs ? AnswerEchoRequest(info, packet)
                     : IgnorePacket(info, IgnoreReason::NotPingForUs, packet);
    }
    if (!forUs) {
        return IgnorePacket(info, IgnoreReason::NotReplyForUs, packet);
    }
    const FrameVerdict verdict =
        m_pingTest.RecordReply({icmp.RawIdentifier(), icmp.RawSequenceNumber(), ip.Source(),
                                static_cast<std::uint32_t>(message.size() - IcmpEchoView::kLength),
                                ip.TimeToLive(), frame_arrival::OfLastFrame()});
    if (verdict.fate == FrameFate::ReplyToNoPing && !m_pingTest.IsOwnIdentifier(icmp.RawIdentifier())) {
        info.counted.ignoredPings.Note(IgnoredPing::ReplyForeign, ip.Source());
    }
    TellRead(info.open.Handle(), verdict);
}

void ReceivePath::AnswerEchoRequest(INTERFACE_INFO& info, ReceivedPacket packet) {
    const std::span<std::uint8_t> bytes = packet.Bytes();
    Ipv4View ip = *Ipv4View::Over(bytes);
    IcmpEchoView icmp = *IcmpEchoView::Over(bytes.subspan(Ipv4View::kLength));
    const std::span<std::uint8_t> message = IcmpMessage(bytes, ip.TotalLength());
    // The sum over the IP header stays what it was: its two addresses change places.
    ip.SetDestination(ip.Source());
    ip.SetSource(info.addresses.guestIp);
    icmp.SetType(kIcmpEchoReply);
    SetReplyChecksum(m_library, icmp, message);
    // Before the answer in the document, but the station does not wait for it.
    const LineToFollow announced(
        [](std::uint32_t station) { LogAnswering(Ipv4Address::FromMemory(station)); },
        ip.Destination().Memory());
    const std::span<std::uint8_t> frame = packet.WithHeadroom();
    const bool written = m_writer.WritePingIPPacket(info, frame);
    if (written) {
        CountAnswer(info.counted.echoRequestsAnswered, info, info.asked.tapMode ? frame : bytes);
    }
    TellAnswered(info, written);
}

void ReceivePath::AnswerArp(INTERFACE_INFO& info, ReceivedPacket packet) {
    info.counted.conflict.Hear(info.addresses, packet.Bytes());
    if (!HandleTapARPPacket(info.addresses, info.open.Name(), packet.Bytes())) {
        return TellRead(info.open.Handle(), {.fate = FrameFate::NotForGuest});
    }
    const bool written = m_writer.WriteArpReply(info, packet.Bytes(), L"HandleTapARPPacket");
    if (written) {
        CountAnswer(info.counted.arpRequestsAnswered, info, packet.Bytes().first(kArpFrameLength));
    }
    TellAnswered(info, written);
}

void ReceivePath::AnswerRarp(INTERFACE_INFO& info, ReceivedPacket packet) {
    if (!HandleTapRARPPacket(info.addresses, info.open.Name(), packet.Bytes())) {
        return TellRead(info.open.Handle(), {.fate = FrameFate::NotForGuest});
    }
    const bool written = m_writer.WriteArpReply(info, packet.Bytes(), L"HandleTapRARPPacket");
    if (written) {
        CountAnswer(info.counted.rarpRequestsAnswered, info, packet.Bytes().first(kArpFrameLength));
    }
    TellAnswered(info, written);
}

void ReceivePath::IgnorePacket(INTERFACE_INFO& info, IgnoreReason reason, ReceivedPacket packet) {
    const auto number = static_cast<std::uint32_t>(reason);
    if (number < kIgnoreReasons) {
        info.counted.ignored[number].fetch_add(1, std::memory_order_relaxed);
    }
    if (const auto judged = JudgeIgnored(reason, packet.Bytes(), info.addresses.guestIp)) {
        info.counted.ignoredPings.Note(judged->kind, judged->sender, judged->detail);
    }
    TellRead(info.open.Handle(), {.fate = FrameFate::Ignored, .reason = reason});
    if (m_run.debugMode) {
        LogMsg(L"Packet was ignored (%s)\n", IgnoreReasonText(number));
    }
}

} // namespace vnxtest
