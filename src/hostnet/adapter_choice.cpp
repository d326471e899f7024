#include "hostnet/adapter_choice.h"

#include <algorithm>
#include <array>
#include <utility>

#include "hostnet/adapter_text.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

std::wstring Identifier(const HostAdapter& adapter) {
    const std::wstring name = TrimBlanks(adapter.driverName);
    const std::wstring_view identifier = IdentifierOf(name);
    return identifier.empty() ? name : std::wstring(identifier);
}

bool HasAddress(const HostAdapter& adapter) {
    return !adapter.address.IsZero();
}

// By the system's name or the name as shown.
bool IsNamed(const HostAdapter& adapter, std::wstring_view name) {
    return std::ranges::any_of(
        std::array{TrimBlanks(adapter.connection), Identifier(adapter), TrimBlanks(adapter.driverName)},
        [name](const std::wstring& own) {
            return EqualNoCase(own, name) || EqualNoCase(MakeVisible(own), name);
        });
}

} // namespace

std::wstring AdapterDisplayName(const HostAdapter& adapter) {
    const std::wstring connection = TrimBlanks(adapter.connection);
    return MakeVisible(connection.empty() ? Identifier(adapter) : connection);
}

const HostAdapter* FindAdapter(const HostNetwork& host, std::wstring_view text) {
    const auto& adapters = host.Adapters();
    const auto find = [&adapters](const auto& matches) {
        const auto found = std::ranges::find_if(adapters, matches);
        return found == adapters.end() ? nullptr : &*found;
    };
    if (const auto ip = ParseIPAddress(text)) {
        return find([&](const auto& adapter) { return HasAddress(adapter) && adapter.address == *ip; });
    }
    if (const auto mac = ParseMACAddress(text)) {
        return find([&](const auto& adapter) { return adapter.mac == *mac; });
    }
    return find([&](const auto& adapter) { return IsNamed(adapter, text); });
}

const HostAdapter* OpenedFor(const HostNetwork& host, const HostAdapter& adapter) {
    return FindAdapter(host,
                       HasAddress(adapter) ? FormatIPAddr(adapter.address) : FormatMACAddr(adapter.mac));
}

namespace {

std::wstring StateOf(const HostNetwork& host, const HostAdapter& adapter) {
    const HostAdapter* const opened = OpenedFor(host, adapter);
    if (opened != nullptr && opened != &adapter) { // it cannot be chosen
        const std::wstring master = MakeVisible(adapter.portOf);
        return master.empty() ? L"same address as " + AdapterDisplayName(*opened) : L"port of " + master;
    }
    return std::wstring(adapter.mediaConnected ? L"connected" : L"not connected") +
           (host.IsDefaultAdapter(adapter) ? L", default" : L"");
}

} // namespace

std::vector<std::wstring> AdapterLines(const HostNetwork& host) {
    using Row = std::array<std::wstring, 5>;
    std::vector<Row> rows = {{L"Name", L"IP address", L"MAC address", L"State", L"Description"}};
    for (const HostAdapter& adapter : host.Adapters()) {
        const AdapterTexts texts = GetAdapterTexts(adapter);
        rows.push_back({AdapterDisplayName(adapter), HasAddress(adapter) ? texts.address : L"-", texts.mac,
                        StateOf(host, adapter), texts.description});
    }
    std::array<std::size_t, 4> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    std::vector<std::wstring> lines;
    lines.reserve(rows.size());
    for (const Row& row : rows) {
        std::wstring line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column < widths.size()) {
                line.append(widths[column] - row[column].size() + 2, L' ');
            }
        }
        line.resize(line.find_last_not_of(L' ') + 1);
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace vnxtest
