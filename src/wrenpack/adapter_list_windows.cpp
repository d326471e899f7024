#include <windows.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <iphlpapi.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "wrenlib/address.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_class_windows.h"
#include "wrenpack/adapter_list_windows.h"

namespace vnxtest {

namespace {

constexpr std::size_t kMacLength = 6;

// 0.0.0.0 if it is no IPv4 address.
Ipv4Address ToIpv4(const SOCKET_ADDRESS& address) {
    if (address.lpSockaddr == nullptr || address.lpSockaddr->sa_family != AF_INET ||
        address.iSockaddrLength < static_cast<int>(sizeof(sockaddr_in))) {
        return {};
    }
    sockaddr_in inet{};
    std::memcpy(&inet, address.lpSockaddr, sizeof inet);
    return Ipv4Address::FromMemory(inet.sin_addr.s_addr);
}

void FillAddresses(const IP_ADAPTER_ADDRESSES& system, HostAdapter& adapter) {
    for (const auto* unicast = system.FirstUnicastAddress; unicast != nullptr && adapter.address.IsZero();
         unicast = unicast->Next) {
        adapter.address = ToIpv4(unicast->Address);
        if (!adapter.address.IsZero()) {
            adapter.mask = Ipv4Address::Mask(unicast->OnLinkPrefixLength);
        }
    }
    for (const auto* gateway = system.FirstGatewayAddress; gateway != nullptr && adapter.gateway.IsZero();
         gateway = gateway->Next) {
        adapter.gateway = ToIpv4(gateway->Address);
    }
}

// A driver's checksum setting: 0 off, 1 when sending, 2 when receiving, 3 both. Nullopt if it has none.
std::optional<ChecksumOffload> ChecksumOffloadOf(const std::wstring& instance) {
    struct Setting {
        const wchar_t* value;
        std::uint32_t bit;
        std::uint32_t ChecksumOffload::*transmit;
        std::uint32_t ChecksumOffload::*receive;
    };
    using Offload = ChecksumOffload;
    constexpr Setting kSettings[] = {
        {L"*IPChecksumOffloadIPv4", kChecksumIp, &Offload::v4Transmit, &Offload::v4Receive},
        {L"*TCPChecksumOffloadIPv4", kChecksumTcp, &Offload::v4Transmit, &Offload::v4Receive},
        {L"*UDPChecksumOffloadIPv4", kChecksumUdp, &Offload::v4Transmit, &Offload::v4Receive},
        {L"*TCPChecksumOffloadIPv6", kChecksumTcp, &Offload::v6Transmit, &Offload::v6Receive},
        {L"*UDPChecksumOffloadIPv6", kChecksumUdp, &Offload::v6Transmit, &Offload::v6Receive},
    };
    const RegistryKey key = OpenAdapterClassKey(instance);
    std::optional<ChecksumOffload> offload;
    for (const Setting& setting : kSettings) {
        wchar_t character = L'\0';
        if (key == nullptr || !QueryFirstCharacter(key.get(), setting.value, character)) {
            continue;
        }
        offload = offload.value_or(ChecksumOffload());
        const unsigned choice = character >= L'0' && character <= L'3' ? unsigned{character} - L'0' : 0;
        (*offload).*setting.transmit |= (choice & 1U) != 0 ? setting.bit : 0;
        (*offload).*setting.receive |= (choice & 2U) != 0 ? setting.bit : 0;
    }
    return offload;
}

HostAdapter MakeAdapter(const IP_ADAPTER_ADDRESSES& system) {
    HostAdapter adapter;
    const std::wstring instance = ToWide(system.AdapterName);
    adapter.driverName = DriverNameOf(instance);
    adapter.description = system.Description;
    adapter.connection = system.FriendlyName;
    std::array<std::uint8_t, kMacLength> mac{};
    std::memcpy(mac.data(), system.PhysicalAddress, mac.size());
    adapter.mac = MacAddress(mac);
    adapter.medium = system.IfType == IF_TYPE_IEEE80211 ? kNdisMediumNative802_11 : kNdisMedium802_3;
    // All ones means "not known"; so does 0.
    if (system.TransmitLinkSpeed != ~ULONG64{0} && system.TransmitLinkSpeed != 0) {
        adapter.linkSpeed = system.TransmitLinkSpeed;
    }
    adapter.index = system.IfIndex;
    adapter.mediaConnected = system.OperStatus == IfOperStatusUp;
    adapter.largestPacket = system.Mtu + kEthernetHeader;
    adapter.dhcp = (system.Flags & IP_ADAPTER_DHCP_ENABLED) != 0;
    FillAddresses(system, adapter);
    adapter.checksumOffload = ChecksumOffloadOf(instance);
    return adapter;
}

} // namespace

Result<std::vector<HostAdapter>> ReadAdapters() {
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
    std::vector<HostAdapter> adapters;
    if (code == ERROR_NO_DATA) {
        return adapters;
    }
    if (code != NO_ERROR) {
        return FailedCall(L"GetAdaptersAddresses", code);
    }
    for (const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(buffer.data());
         adapter != nullptr; adapter = adapter->Next) {
        const bool ethernetLike =
            adapter->IfType == IF_TYPE_ETHERNET_CSMACD || adapter->IfType == IF_TYPE_IEEE80211;
        if (ethernetLike && adapter->PhysicalAddressLength == kMacLength) {
            adapters.push_back(MakeAdapter(*adapter));
        }
    }
    return adapters;
}

} // namespace vnxtest
