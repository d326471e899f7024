#include <windows.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <iphlpapi.h>

#include <algorithm>
#include <cstring>

#include "wrenlib/address.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_class_windows.h"
#include "wrenpack/adapter_list_windows.h"

namespace vnxtest {

namespace {

constexpr std::uint32_t kNdisMedium802_3 = 0;
constexpr std::uint32_t kEthernetHeader = 14;

// The IPv4 address of a socket address as it stands in memory; 0 when it is none.
std::uint32_t MemoryOf(const SOCKET_ADDRESS& address) {
    if (address.lpSockaddr == nullptr || address.lpSockaddr->sa_family != AF_INET ||
        address.iSockaddrLength < static_cast<int>(sizeof(sockaddr_in))) {
        return 0;
    }
    sockaddr_in inet{};
    std::memcpy(&inet, address.lpSockaddr, sizeof inet);
    return inet.sin_addr.s_addr;
}

void FillAddresses(const IP_ADAPTER_ADDRESSES& adapter, ADAPTER_INFO_LIST_ENTRY& entry) {
    for (const auto* unicast = adapter.FirstUnicastAddress; unicast != nullptr && entry.IPAddr == 0;
         unicast = unicast->Next) {
        entry.IPAddr = MemoryOf(unicast->Address);
        const unsigned length = std::min<unsigned>(unicast->OnLinkPrefixLength, 32);
        if (entry.IPAddr != 0) {
            entry.IPAddrMask = Ipv4Address::FromHost(length == 0 ? 0 : UINT32_MAX << (32 - length)).Memory();
        }
    }
    for (const auto* gateway = adapter.FirstGatewayAddress; gateway != nullptr && entry.GatewayIPAddr == 0;
         gateway = gateway->Next) {
        entry.GatewayIPAddr = MemoryOf(gateway->Address);
    }
}

// A driver's checksum setting: 0 off, 1 when sending, 2 when receiving, 3 both.
void FillChecksumOffload(const std::wstring& instance, ADAPTER_INFO_LIST_ENTRY& entry) {
    struct Setting {
        const wchar_t* value;
        std::uint32_t bit;
        std::uint32_t ADAPTER_INFO_LIST_ENTRY::*transmit;
        std::uint32_t ADAPTER_INFO_LIST_ENTRY::*receive;
    };
    using Entry = ADAPTER_INFO_LIST_ENTRY;
    constexpr Setting kSettings[] = {
        {L"*IPChecksumOffloadIPv4", kChecksumIp, &Entry::V4Transmit, &Entry::V4Receive},
        {L"*TCPChecksumOffloadIPv4", kChecksumTcp, &Entry::V4Transmit, &Entry::V4Receive},
        {L"*UDPChecksumOffloadIPv4", kChecksumUdp, &Entry::V4Transmit, &Entry::V4Receive},
        {L"*TCPChecksumOffloadIPv6", kChecksumTcp, &Entry::V6Transmit, &Entry::V6Receive},
        {L"*UDPChecksumOffloadIPv6", kChecksumUdp, &Entry::V6Transmit, &Entry::V6Receive},
    };
    const RegistryKey key = OpenAdapterClassKey(instance);
    for (const Setting& setting : kSettings) {
        wchar_t character = L'\0';
        if (key == nullptr || !QueryFirstCharacter(key.get(), setting.value, character)) {
            continue;
        }
        entry.ChecksumOffloadPresent = 1;
        const unsigned choice = character >= L'0' && character <= L'3' ? unsigned{character} - L'0' : 0;
        entry.*setting.transmit |= (choice & 1U) != 0 ? setting.bit : 0;
        entry.*setting.receive |= (choice & 2U) != 0 ? setting.bit : 0;
    }
}

ADAPTER_INFO_LIST_ENTRY MakeEntry(const IP_ADAPTER_ADDRESSES& adapter) {
    ADAPTER_INFO_LIST_ENTRY entry;
    const std::wstring instance = ToWide(adapter.AdapterName);
    const bool wireless = adapter.IfType == IF_TYPE_IEEE80211;
    entry.leadingWord = sizeof entry;
    SetField(entry.AdapterName, L"NPF_" + instance);
    SetField(entry.Description, adapter.Description);
    SetField(entry.Connection, adapter.FriendlyName);
    std::memcpy(entry.PhysAddr, adapter.PhysicalAddress, sizeof entry.PhysAddr);
    entry.LinkType = wireless ? kNdisMediumNative802_11 : kNdisMedium802_3;
    // All ones is the system's word for "not known".
    const ULONG64 speed = adapter.TransmitLinkSpeed == ~ULONG64{0} ? 0 : adapter.TransmitLinkSpeed / 100;
    entry.LinkSpeed = static_cast<std::uint32_t>(std::min<ULONG64>(speed, UINT32_MAX));
    entry.dwIndex = adapter.IfIndex;
    entry.MediaConnected = adapter.OperStatus == IfOperStatusUp ? 1 : 0;
    entry.MaxPacketLen = adapter.Mtu + kEthernetHeader;
    entry.DHCP = (adapter.Flags & IP_ADAPTER_DHCP_ENABLED) != 0 ? 1 : 0;
    FillAddresses(adapter, entry);
    FillChecksumOffload(instance, entry);
    return entry;
}

} // namespace

std::uint32_t ListAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries) {
    entries.clear();
    constexpr ULONG kFlags = GAA_FLAG_INCLUDE_GATEWAYS | GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                             GAA_FLAG_SKIP_DNS_SERVER;
    constexpr int kRounds = 8;
    ULONG size = 64U * 1024;
    std::vector<std::uint64_t> buffer; // in 8-byte units: the records hold pointers
    ULONG code = ERROR_BUFFER_OVERFLOW;
    for (int round = 0; round < kRounds && code == ERROR_BUFFER_OVERFLOW; ++round) {
        buffer.resize(size / 8 + 1);
        code = GetAdaptersAddresses(AF_INET, kFlags, nullptr,
                                    reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data()), &size);
    }
    if (code == ERROR_NO_DATA) {
        return 0;
    }
    if (code != NO_ERROR) {
        return code;
    }
    for (const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(buffer.data());
         adapter != nullptr; adapter = adapter->Next) {
        const bool ethernetLike =
            adapter->IfType == IF_TYPE_ETHERNET_CSMACD || adapter->IfType == IF_TYPE_IEEE80211;
        if (ethernetLike && adapter->PhysicalAddressLength == sizeof ADAPTER_INFO_LIST_ENTRY{}.PhysAddr) {
            entries.push_back(MakeEntry(*adapter));
        }
    }
    return 0;
}

} // namespace vnxtest
