#include "vnetx/sim/sim_echo.h"

#include <algorithm>

#include "packets/checksum.h"
#include "packets/ipv4_packet.h"

namespace vnxtest {

SimEchoCheck ParseSimEcho(std::span<const std::uint8_t> bytes, SimEcho& echo) {
    const auto ip = ConstIpv4View::Over(bytes);
    if (!ip || ip->Version() != 4) {
        return SimEchoCheck::Bad;
    }
    const std::size_t headerLength = std::size_t{ip->HeaderLength()} * 4;
    const std::size_t totalLength = ip->TotalLength();
    // A header or message that carries its own checksum sums up to 0 (RFC 1071).
    if (headerLength < ConstIpv4View::kLength || totalLength < headerLength || totalLength > bytes.size() ||
        InetChecksum(bytes.first(headerLength)) != 0) {
        return SimEchoCheck::Bad;
    }
    if (ip->IsFragment()) {
        return SimEchoCheck::Bad; // stations do not reassemble: the guest sends whole packets
    }
    const auto message = bytes.subspan(headerLength, totalLength - headerLength);
    if (ip->Protocol() != kIpProtocolIcmp) {
        return SimEchoCheck::NotEcho;
    }
    const auto icmp = ConstIcmpEchoView::Over(message);
    if (!icmp || InetChecksum(message) != 0) {
        return SimEchoCheck::Bad;
    }
    if ((icmp->Type() != kIcmpEchoRequest && icmp->Type() != kIcmpEchoReply) || icmp->Code() != 0) {
        return SimEchoCheck::NotEcho;
    }
    echo.source = ip->Source();
    echo.destination = ip->Destination();
    echo.typeOfService = ip->TypeOfService();
    echo.type = icmp->Type();
    echo.identifier = icmp->Identifier();
    echo.sequence = icmp->SequenceNumber();
    echo.data = message.subspan(ConstIcmpEchoView::kLength);
    return SimEchoCheck::Good;
}

void BuildSimEcho(const SimEcho& echo, const SimEchoHeader& header, std::span<std::uint8_t> out) {
    auto ip = Ipv4View::Over(out);
    ip->Emit({.typeOfService = echo.typeOfService,
              .totalLength = static_cast<std::uint16_t>(SimEchoLength(echo)),
              .identification = header.identification,
              .dontFragment = header.dontFragment,
              .timeToLive = header.timeToLive,
              .source = echo.source,
              .destination = echo.destination});
    ip->Seal();
    const auto message = out.subspan(Ipv4View::kLength, SimEchoLength(echo) - Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    icmp->SetType(echo.type);
    icmp->SetCode(0);
    icmp->SetIdentifier(echo.identifier);
    icmp->SetSequenceNumber(echo.sequence);
    std::copy_n(echo.data.data(), echo.data.size(), message.data() + IcmpEchoView::kLength);
    SealIcmp(message);
}

std::size_t DamageSimPacket(std::span<std::uint8_t> packet, const SimFate& fate) {
    if (fate.corrupted) {
        const std::uint64_t bit = fate.random % (packet.size() * 8);
        packet[bit / 8] ^= static_cast<std::uint8_t>(1u << (bit % 8));
    }
    // At least one byte goes and at least one stays.
    return fate.truncated ? 1 + (fate.random >> 32) % (packet.size() - 1) : packet.size();
}

} // namespace vnxtest
