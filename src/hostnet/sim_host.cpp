#include "hostnet/sim_host.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "vnetx/sim/sim_lan.h"
#include "wrenlib/errors.h"

namespace vnxtest {

namespace {

// No interface of a real host has this index, or a name as long as this one.
constexpr std::uint32_t kSimInterfaceIndex = 0x7FFFFFFE;
constexpr wchar_t kSimAdapterName[] = L"NPF_simulated-lan-adapter";
constexpr std::uint32_t kOneGigabit = 10'000'000; // units of 100 bit/s
constexpr std::uint32_t kEthernetHeader = 14;

template <typename Row>
void AppendRow(std::vector<std::uint8_t>& table, const Row& row) {
    std::uint32_t count = 0;
    std::memcpy(&count, table.data(), sizeof count);
    // The buffer may be larger than the table.
    const std::size_t room = (table.size() - sizeof count) / sizeof row;
    count = static_cast<std::uint32_t>(std::min<std::size_t>(count, room));
    table.resize(sizeof count + (count + std::size_t{1}) * sizeof row);
    std::memcpy(table.data() + sizeof count + count * sizeof row, &row, sizeof row);
    ++count;
    std::memcpy(table.data(), &count, sizeof count);
}

// The real table and one row more, delivered as a real source does.
template <typename Row, typename Fill>
std::uint32_t FillWithRow(std::uint32_t element, Fill fill, const Row& row, void* buffer,
                          std::uint32_t* size) {
    std::vector<std::uint8_t> table;
    if (const std::uint32_t code = FetchGrowing(element, fill, table)) {
        return code;
    }
    AppendRow(table, row);
    return FillFrom(table.data(), table.size(), buffer, size);
}

ADAPTER_INFO_LIST_ENTRY SimEntry() {
    ADAPTER_INFO_LIST_ENTRY entry;
    entry.leadingWord = sizeof entry;
    SetField(entry.AdapterName, kSimAdapterName);
    SetField(entry.Description, L"Simulated adapter: exists only inside this program (--library sim)");
    SetField(entry.Connection, L"simulated LAN");
    std::ranges::copy(kSimAdapterMac.Bytes(), entry.PhysAddr);
    entry.LinkSpeed = kOneGigabit;
    entry.IPAddr = kSimAdapterIp.Memory();
    entry.IPAddrMask = kSimNetMask.Memory();
    entry.GatewayIPAddr = kSimGatewayIp.Memory();
    entry.dwIndex = kSimInterfaceIndex;
    entry.MediaConnected = 1;
    entry.MaxPacketLen = kSimDefaultMtu + kEthernetHeader;
    entry.PromiscuousMode = 1;
    return entry;
}

// Its own address is as good a handle as any: no other handle has it.
AdapterHandle SimHandle() {
    static char handle = 0;
    return &handle;
}

} // namespace

std::uint32_t SimHostTables::GetNetworkParams(void* buffer, std::uint32_t* size) {
    return m_real.GetNetworkParams(buffer, size);
}

std::uint32_t SimHostTables::GetIpForwardTable(void* buffer, std::uint32_t* size) {
    RawRouteRow row;
    row.nextHop = kSimGatewayIp.Memory();
    row.interfaceIndex = kSimInterfaceIndex;
    const auto fill = [this](void* bytes, std::uint32_t* length) {
        return m_real.GetIpForwardTable(bytes, length);
    };
    return FillWithRow(kRouteTableElement, fill, row, buffer, size);
}

std::uint32_t SimHostTables::GetIpAddrTable(void* buffer, std::uint32_t* size) {
    RawAddressRow row;
    row.address = kSimAdapterIp.Memory();
    row.mask = kSimNetMask.Memory();
    row.broadcast = kSimBroadcast.Memory();
    row.interfaceIndex = kSimInterfaceIndex;
    const auto fill = [this](void* bytes, std::uint32_t* length) {
        return m_real.GetIpAddrTable(bytes, length);
    };
    return FillWithRow(kAddressTableElement, fill, row, buffer, size);
}

NetworkParameters SimHostTables::DecodeNetworkParams(const std::vector<std::uint8_t>& buffer) const {
    return m_real.DecodeNetworkParams(buffer);
}

std::uint32_t SimHostTables::SendARP(Ipv4Address destination, Ipv4Address source, std::uint8_t* mac,
                                     std::uint32_t* length) {
    if (!SimOnLan(destination)) {
        return m_real.SendARP(destination, source, mac, length);
    }
    if (!SimIsStation(destination)) {
        return kErrorNoAnswer;
    }
    const MacAddress answer = SimStationMac(SimStationNumber(destination));
    *length = std::min<std::uint32_t>(*length, 6);
    std::memcpy(mac, answer.Bytes().data(), *length);
    return 0;
}

bool SimWrenPack::GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) {
    if (m_entries.empty()) {
        // A real library that fails, or has no adapter, leaves the simulated one alone.
        FetchAdapters(m_real, m_entries);
        m_entries.push_back(SimEntry());
    }
    return DeliverAdapters(m_entries, list, size);
}

AdapterHandle SimWrenPack::OpenAdapter(const char16_t* adapterName) {
    const std::wstring name = FieldText(adapterName, std::char_traits<char16_t>::length(adapterName));
    return name == kSimAdapterName ? SimHandle() : m_real.OpenAdapter(adapterName);
}

void SimWrenPack::CloseAdapter(AdapterHandle handle) {
    if (handle != SimHandle()) {
        m_real.CloseAdapter(handle);
    }
}

void SimWrenPack::CloseAdapters(const std::vector<AdapterHandle>& handles) {
    std::vector<AdapterHandle> others;
    std::ranges::remove_copy(handles, std::back_inserter(others), SimHandle());
    m_real.CloseAdapters(others);
}

AdapterFacts SimWrenPack::FactsOf(const ADAPTER_INFO_LIST_ENTRY& entry) const {
    return entry.dwIndex == kSimInterfaceIndex ? AdapterFacts{} : m_real.FactsOf(entry);
}

} // namespace vnxtest
