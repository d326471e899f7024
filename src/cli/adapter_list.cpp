#include "cli/adapter_list.h"

#include <algorithm>
#include <array>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/json_report.h"
#include "hostnet/adapter_text.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

constexpr std::size_t kDriverPrefix = 4;

std::wstring DriverName(const ADAPTER_INFO_LIST_ENTRY& entry) {
    const std::wstring name = TrimBlanks(FieldText(entry.AdapterName));
    return name.size() > kDriverPrefix ? name.substr(kDriverPrefix) : name;
}

bool HasAddress(const ADAPTER_INFO_LIST_ENTRY& entry) {
    return entry.IPAddr != 0;
}

// As the system has the names, and as they are shown.
bool IsNamed(const ADAPTER_INFO_LIST_ENTRY& entry, std::wstring_view name) {
    return std::ranges::any_of(std::array{TrimBlanks(FieldText(entry.Connection)), DriverName(entry),
                                          TrimBlanks(FieldText(entry.AdapterName))},
                               [name](const std::wstring& own) {
                                   return EqualNoCase(own, name) || EqualNoCase(MakeVisible(own), name);
                               });
}

} // namespace

MacAddress AdapterMac(const ADAPTER_INFO_LIST_ENTRY& entry) {
    return MacAddress(std::to_array(entry.PhysAddr));
}

std::wstring AdapterDisplayName(const ADAPTER_INFO_LIST_ENTRY& entry) {
    const std::wstring connection = TrimBlanks(FieldText(entry.Connection));
    return MakeVisible(connection.empty() ? DriverName(entry) : connection);
}

const ADAPTER_INFO_LIST_ENTRY* FindAdapter(const HostNetwork& host, std::wstring_view text) {
    const auto& adapters = host.Adapters();
    const auto find = [&adapters](const auto& matches) {
        const auto found = std::ranges::find_if(adapters, matches);
        return found == adapters.end() ? nullptr : &*found;
    };
    if (const auto ip = ParseIPAddress(text)) {
        return find([&](const auto& entry) { return HasAddress(entry) && entry.IPAddr == ip->Memory(); });
    }
    if (const auto mac = ParseMACAddress(text)) {
        return find([&](const auto& entry) { return AdapterMac(entry) == *mac; });
    }
    return find([&](const auto& entry) { return IsNamed(entry, text); });
}

const ADAPTER_INFO_LIST_ENTRY* OpenedFor(const HostNetwork& host, const ADAPTER_INFO_LIST_ENTRY& entry) {
    return FindAdapter(host, HasAddress(entry) ? FormatIPAddr(Ipv4Address::FromMemory(entry.IPAddr))
                                               : FormatMACAddr(AdapterMac(entry)));
}

namespace {

std::wstring StateOf(const HostNetwork& host, const ADAPTER_INFO_LIST_ENTRY& entry) {
    const ADAPTER_INFO_LIST_ENTRY* const opened = OpenedFor(host, entry);
    if (opened != nullptr && opened != &entry) { // it cannot be chosen
        const std::wstring master = MakeVisible(host.Sources().adapters.FactsOf(entry).portOf);
        return master.empty() ? L"same address as " + AdapterDisplayName(*opened) : L"port of " + master;
    }
    const ADAPTER_INFO_LIST_ENTRY* const standard = host.DefaultAdapter();
    const bool isDefault = standard != nullptr && standard->dwIndex == entry.dwIndex &&
                           AdapterMac(*standard) == AdapterMac(entry);
    return std::wstring(entry.MediaConnected != 0 ? L"connected" : L"not connected") +
           (isDefault ? L", default" : L"");
}

} // namespace

std::wstring AdapterTable(const HostNetwork& host) {
    if (host.Adapters().empty()) {
        return L"No host adapters were found.\n";
    }
    using Row = std::array<std::wstring, 5>;
    std::vector<Row> rows = {{L"Name", L"IP address", L"MAC address", L"State", L"Description"}};
    for (const ADAPTER_INFO_LIST_ENTRY& entry : host.Adapters()) {
        const AdapterTexts texts = GetAdapterTexts(entry, host.Sources().adapters);
        rows.push_back({AdapterDisplayName(entry), HasAddress(entry) ? texts.address : L"-", texts.mac,
                        StateOf(host, entry), texts.description});
    }
    std::array<std::size_t, 4> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::wstring table;
    for (const Row& row : rows) {
        std::wstring line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column < widths.size()) {
                line.append(widths[column] - row[column].size() + 2, L' ');
            }
        }
        table += line.substr(0, line.find_last_not_of(L' ') + 1) + L'\n';
    }
    return table;
}

std::string AdapterJson(const HostNetwork& host) {
    Json list = Json::array();
    for (const ADAPTER_INFO_LIST_ENTRY& entry : host.Adapters()) {
        const AdapterTexts texts = GetAdapterTexts(entry, host.Sources().adapters);
        const auto address = [](std::uint32_t image) {
            return image == 0 ? Json() : Json(ToUtf8(FormatIPAddr(Ipv4Address::FromMemory(image))));
        };
        const AdapterFacts facts = host.Sources().adapters.FactsOf(entry);
        const auto fact = [](std::uint32_t field, bool known) { return known ? Json(field != 0) : Json(); };
        list.push_back(Json{
            {"name", ToUtf8(AdapterDisplayName(entry))},
            {"driverName", ToUtf8(texts.name)},
            {"description", ToUtf8(texts.description)},
            {"index", entry.dwIndex},
            {"mac", ToUtf8(texts.mac)},
            {"ip", address(entry.IPAddr)},
            {"mask", entry.IPAddr == 0 ? Json() : Json(ToUtf8(texts.mask))},
            {"gateway", address(entry.GatewayIPAddr)},
            {"medium", ToUtf8(texts.medium)},
            {"linkSpeed", entry.LinkSpeed == 0 ? Json() : Json(std::uint64_t{entry.LinkSpeed} * 100)},
            {"connected", entry.MediaConnected != 0},
            {"dhcp", fact(entry.DHCP, facts.dhcpKnown)},
            {"promiscuous", fact(entry.PromiscuousMode, facts.promiscuousKnown)},
            {"portOf", facts.portOf.empty() ? Json() : Json(ToUtf8(MakeVisible(facts.portOf)))},
            {"largestPacket", entry.MaxPacketLen},
            {"default", host.DefaultAdapter() != nullptr && host.DefaultAdapter()->dwIndex == entry.dwIndex &&
                            AdapterMac(*host.DefaultAdapter()) == AdapterMac(entry)},
        });
    }
    return JsonText(Json{{"version", kJsonVersion}, {"adapters", std::move(list)}});
}

} // namespace vnxtest
