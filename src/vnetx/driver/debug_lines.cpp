#include "vnetx/driver/debug_lines.h"

#include <fmt/format.h>

#include "packets/arp_packet.h"
#include "packets/ipv4_packet.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

std::string Text(MacAddress mac) {
    return ToNarrow(FormatMACAddr(mac));
}
std::string Text(Ipv4Address ip) {
    return ToNarrow(FormatIPAddr(ip));
}

std::string DescribeArp(std::span<const std::uint8_t> packet) {
    const auto arp = ConstArpView::OverEthernetIpv4(packet);
    if (!arp) {
        return "short or foreign ARP packet";
    }
    return fmt::format("ARP operation {}, sender {} {}, target {} {}",
                       static_cast<std::uint16_t>(arp->Operation()), Text(arp->SenderProtocolAddress()),
                       Text(arp->SenderHardwareAddress()), Text(arp->TargetProtocolAddress()),
                       Text(arp->TargetHardwareAddress()));
}

std::string DescribeIpv4(std::span<const std::uint8_t> packet) {
    const auto ip = ConstIpv4View::Over(packet);
    return ip ? fmt::format("IPv4 protocol {}, {} > {}", ip->Protocol(), Text(ip->Source()),
                            Text(ip->Destination()))
              : "short IPv4 packet";
}

// Sixteen bytes a line: offset, digits, printable characters.
void AppendHexDump(std::string& text, std::span<const std::uint8_t> bytes) {
    for (std::size_t offset = 0; offset < bytes.size(); offset += 16) {
        fmt::format_to(std::back_inserter(text), "  {:04X} ", offset);
        std::string characters;
        for (std::size_t i = offset; i < offset + 16; ++i) {
            if (i < bytes.size()) {
                fmt::format_to(std::back_inserter(text), " {:02X}", bytes[i]);
                characters += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
            } else {
                text += "   ";
            }
        }
        text += "  " + characters + "\n";
    }
}

} // namespace

void DebugLines::Put(const std::string& text) const {
    if (const VnetxDebugOutput sink = m_sink.load()) {
        const ErrorKeeper keeper;
        sink(text.c_str());
    }
}

void DebugLines::Change(std::string_view interfaceName, std::string_view setting, std::string_view oldValue,
                        std::string_view newValue) const {
    if (IsOn(VNETX_DEBUG_OLD_NEW_VALUES)) {
        Put(fmt::format("VNETX {}: {}: old {}, new {}\n", interfaceName, setting, oldValue, newValue));
    }
}

void DebugLines::Packet(std::string_view interfaceName, std::span<const std::uint8_t> packet, bool ethernet,
                        std::uint32_t arpFlag, std::uint32_t otherFlag, std::string_view verb) const {
    const auto header = ethernet ? ConstEthernetView::Over(packet) : std::nullopt;
    const bool isArp = header && header->EtherType() == kEtherTypeArp;
    if (!IsOn(isArp ? arpFlag : otherFlag)) {
        return;
    }
    std::string text = fmt::format("VNETX {}: {} bytes {}", interfaceName, packet.size(), verb);
    if (header) {
        const auto payload = packet.subspan(ConstEthernetView::kLength);
        text += fmt::format(", {} > {}, type 0x{:04X}", Text(header->Source()), Text(header->Destination()),
                            header->EtherType());
        if (isArp) {
            text += ", " + DescribeArp(payload);
        } else if (header->EtherType() == kEtherTypeIpv4) {
            text += ", " + DescribeIpv4(payload);
        }
    } else if (!ethernet) {
        text += ", " + DescribeIpv4(packet);
    }
    text += '\n';
    if (IsOn(VNETX_DEBUG_PACKET_CONTENTS)) {
        AppendHexDump(text, packet);
    }
    Put(text);
}

} // namespace vnxtest
