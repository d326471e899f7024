#include "ping/packet_writer.h"

#include <mutex>

#include "packets/arp_packet.h"
#include "packets/ethernet.h"
#include "packets/ipv4_packet.h"
#include "vnetx/neighbour_questions.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

struct AdapterAddresses {
    Ipv4Address ip;
    MacAddress mac;
    Ipv4Address netMask;
};

AdapterAddresses CurrentAdapterAddresses(InterfaceAddresses& addresses) {
    std::unique_lock lock(addresses.adapterLock, std::defer_lock);
    if (!addresses.adapterKnown.load(std::memory_order_acquire)) {
        lock.lock();
    }
    return {addresses.adapterIp, addresses.adapterMac, addresses.netMask};
}

} // namespace

MacAddress PacketWriter::ChooseDestination(INTERFACE_INFO& info, Ipv4Address destination) {
    const std::int32_t handle = info.open.Handle();
    RefreshAdapterAddresses(info.addresses, handle, m_library, m_maskOf);
    const AdapterAddresses adapter = CurrentAdapterAddresses(info.addresses);
    if ((destination & adapter.netMask) == (adapter.ip & adapter.netMask)) {
        if (const auto mac = AskForMac(m_library, handle, destination)) {
            return *mac;
        }
    }
    if (!info.addresses.gatewayMac.IsZero()) {
        return info.addresses.gatewayMac;
    }
    Verify(!adapter.mac.IsZero());
    return adapter.mac;
}

bool PacketWriter::WritePingIPPacket(INTERFACE_INFO& info, std::span<std::uint8_t> frame) {
    AddressPingFrame(info, frame);
    return WriteAddressedFrame(info, frame);
}

void PacketWriter::AddressPingFrame(INTERFACE_INFO& info, std::span<std::uint8_t> frame) {
    // A closed interface has no addresses for a header; the write then fails on its handle, with a report.
    if (!info.asked.tapMode || info.open.Handle() < 0) {
        return;
    }
    auto ethernet = EthernetView::Over(frame);
    const auto ip = Ipv4View::Over(frame.subspan(EthernetView::kLength));
    ethernet->SetEtherType(kEtherTypeIpv4);
    ethernet->SetSource(info.addresses.guestMac);
    ethernet->SetDestination(ChooseDestination(info, ip->Destination()));
}

bool PacketWriter::WriteAddressedFrame(INTERFACE_INFO& info, std::span<const std::uint8_t> frame) {
    const std::int32_t handle = info.open.Handle();
    const std::span<const std::uint8_t> written =
        info.asked.tapMode ? frame : frame.subspan(EthernetView::kLength);
    const auto size = static_cast<std::int32_t>(written.size());
    const std::int32_t count = m_library.Write(handle, written.data(), static_cast<std::uint32_t>(size));
    if (count == size) {
        return true;
    }
    const SavedErrors& saved = SaveErrors();
    LogMsg(L"** CVNXTestView(%s)::WritePingIPPacket: vnetx32_write failed;\n"
           L"                      dwPacketSize=%d, rc=%d, GetLastError=%d (0x%08.8X), errno=%d: %s\n",
           info.open.NameCopy(), size, count, saved.lastError, saved.lastError, saved.errnoValue,
           StrError(saved.errnoValue));
    return false;
}

bool PacketWriter::WriteArpReply(INTERFACE_INFO& info, std::span<const std::uint8_t> frame,
                                 const wchar_t* function) {
    const std::int32_t written = m_library.Write(info.open.Handle(), frame.data(), kArpFrameLength);
    if (written == static_cast<std::int32_t>(kArpFrameLength)) {
        return true;
    }
    const SavedErrors& saved = SaveErrors();
    LogMsg(L"** CVNXTestView(%s)::%s: vnetx32_write failed; rc=%d: %s\n", info.open.Name(), function,
           saved.lastError, FormatLastError(saved.lastError));
    RestoreSavedErrors();
    return false;
}

} // namespace vnxtest
