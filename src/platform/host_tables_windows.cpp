// The host tables of Windows: the IP helper's own calls, whose records the portable layer reads.
#include <windows.h>
#include <winsock2.h>

#include <iphlpapi.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "platform/host_tables.h"
#include "wrenlib/text.h"

namespace vnxtest {

const std::uint32_t kErrorNoAnswer = ERROR_BAD_NET_NAME;

static_assert(sizeof(FIXED_INFO) == kNetworkParamsElement);
static_assert(sizeof(MIB_IPFORWARDTABLE) == kRouteTableElement);
static_assert(sizeof(MIB_IPADDRTABLE) == kAddressTableElement);
static_assert(sizeof(RawRouteRow) == sizeof(MIB_IPFORWARDROW));
static_assert(offsetof(RawRouteRow, nextHop) == offsetof(MIB_IPFORWARDROW, dwForwardNextHop));
static_assert(offsetof(RawRouteRow, interfaceIndex) == offsetof(MIB_IPFORWARDROW, dwForwardIfIndex));
static_assert(offsetof(RawRouteRow, metrics) == offsetof(MIB_IPFORWARDROW, dwForwardMetric1));
static_assert(sizeof(RawAddressRow) == sizeof(MIB_IPADDRROW));
static_assert(offsetof(RawAddressRow, interfaceIndex) == offsetof(MIB_IPADDRROW, dwIndex));
static_assert(offsetof(RawAddressRow, mask) == offsetof(MIB_IPADDRROW, dwMask));

namespace {

std::wstring BoundedText(const char* text, std::size_t capacity) {
    return ToWide(std::string_view(text, strnlen(text, capacity)));
}

class WindowsHostTables final : public HostTables {
public:
    std::uint32_t GetNetworkParams(void* buffer, std::uint32_t* size) override {
        ULONG length = *size;
        const DWORD code = ::GetNetworkParams(static_cast<FIXED_INFO*>(buffer), &length);
        *size = length;
        return code;
    }

    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        ULONG length = *size;
        const DWORD code = ::GetIpForwardTable(static_cast<MIB_IPFORWARDTABLE*>(buffer), &length, TRUE);
        *size = length;
        return code;
    }

    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        ULONG length = *size;
        const DWORD code = ::GetIpAddrTable(static_cast<MIB_IPADDRTABLE*>(buffer), &length, TRUE);
        *size = length;
        return code;
    }

    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>& buffer) const override {
        NetworkParameters parameters;
        if (buffer.size() < sizeof(FIXED_INFO)) {
            return parameters;
        }
        const auto* info = reinterpret_cast<const FIXED_INFO*>(buffer.data());
        parameters.hostName = BoundedText(info->HostName, sizeof info->HostName);
        parameters.nodeType = static_cast<NodeType>(info->NodeType);
        parameters.enableRouting = info->EnableRouting != 0;
        // Each further server is an element of its own, somewhere in the same buffer.
        for (const IP_ADDR_STRING* server = &info->DnsServerList; server != nullptr; server = server->Next) {
            const std::wstring text = BoundedText(server->IpAddress.String, sizeof server->IpAddress.String);
            if (!text.empty()) {
                parameters.dnsServers.push_back(text);
            }
        }
        return parameters;
    }

    std::uint32_t SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                          std::uint32_t* length) override {
        ULONG answer[2] = {};
        ULONG answerLength = std::min<ULONG>(*length, sizeof answer);
        const DWORD code = ::SendARP(destination.Memory(), source.Memory(), answer, &answerLength);
        if (code == NO_ERROR) {
            *length = std::min<std::uint32_t>(*length, answerLength);
            std::memcpy(mac, answer, *length);
        }
        return code;
    }
};

} // namespace

std::unique_ptr<HostTables> MakeHostTables() {
    return std::make_unique<WindowsHostTables>();
}

} // namespace vnxtest
