#include "ping/echo_request.h"

#include <string_view>

namespace vnxtest {

void BuildEchoRequest(std::span<std::uint8_t> packet, VnetxLibrary& library, Ipv4Address source,
                      Ipv4Address target, std::uint16_t icmpId) {
    constexpr std::uint8_t kTimeToLive = 64;
    constexpr std::string_view kPattern = "abcdefghijklmnopqrstuvwxyz0123456789";
    auto ip = Ipv4View::Over(packet);
    auto icmp = IcmpEchoView::Over(packet.subspan(Ipv4View::kLength));
    ip->Emit({.totalLength = static_cast<std::uint16_t>(packet.size()),
              .timeToLive = kTimeToLive,
              .source = source,
              .destination = target});
    ip->SetChecksum(library.CalcInetChecksum(packet.data(), Ipv4View::kLength));
    icmp->SetType(kIcmpEchoRequest);
    icmp->SetCode(0);
    icmp->SetRawIdentifier(icmpId);
    const auto data = packet.subspan(kPingHeaders);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(kPattern[i % kPattern.size()]);
    }
}

std::uint16_t SetEchoSequence(std::span<std::uint8_t> packet, VnetxLibrary& library, std::uint16_t icmpSeq) {
    const auto message = packet.subspan(Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    icmp->SetRawSequenceNumber(icmpSeq);
    icmp->SetChecksum(0);
    icmp->SetChecksum(library.CalcInetChecksum(message.data(), static_cast<std::uint32_t>(message.size())));
    return icmp->RawChecksum();
}

} // namespace vnxtest
