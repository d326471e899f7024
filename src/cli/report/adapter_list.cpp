#include "cli/report/adapter_list.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "hostnet/adapter_choice.h"
#include "hostnet/adapter_text.h"
#include "results/json_report.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

std::wstring AdapterTable(const HostNetwork& host) {
    if (host.Adapters().empty()) {
        return L"No host adapters were found.\n";
    }
    std::wstring table;
    for (const std::wstring& line : AdapterLines(host)) {
        table += line + L'\n';
    }
    return table;
}

std::string AdapterJson(const HostNetwork& host) {
    Json list = Json::array();
    for (const HostAdapter& adapter : host.Adapters()) {
        const AdapterTexts texts = GetAdapterTexts(adapter);
        const auto address = [](Ipv4Address value) {
            return value.IsZero() ? Json() : Json(ToUtf8(FormatIPAddr(value)));
        };
        const auto fact = [](const auto& value) { return value ? Json(*value) : Json(); };
        list.push_back(Json{
            {"name", ToUtf8(AdapterDisplayName(adapter))},
            {"driverName", ToUtf8(texts.name)},
            {"description", ToUtf8(texts.description)},
            {"index", adapter.index},
            {"mac", ToUtf8(texts.mac)},
            {"ip", address(adapter.address)},
            {"mask", adapter.address.IsZero() ? Json() : Json(ToUtf8(texts.mask))},
            {"gateway", address(adapter.gateway)},
            {"medium", ToUtf8(texts.medium)},
            {"linkSpeed", fact(adapter.linkSpeed)},
            {"connected", adapter.mediaConnected},
            {"dhcp", fact(adapter.dhcp)},
            {"promiscuous", fact(adapter.promiscuous)},
            {"portOf", adapter.portOf.empty() ? Json() : Json(ToUtf8(MakeVisible(adapter.portOf)))},
            {"largestPacket", adapter.largestPacket},
            {"default", host.IsDefaultAdapter(adapter)},
        });
    }
    return JsonText(Json{{"version", kJsonVersion}, {"adapters", std::move(list)}});
}

} // namespace vnxtest
