#include "hostnet/adapter_text.h"

#include "wrenlib/address.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {
std::wstring YesOrNo(std::optional<bool> fact) {
    return !fact ? L"unknown" : *fact ? L"Yes" : L"No";
}
std::wstring Shown(const std::wstring& text) {
    return MakeVisible(TrimBlanks(text));
}
} // namespace

AdapterTexts GetAdapterTexts(const HostAdapter& adapter) {
    AdapterTexts texts;
    texts.connection = Shown(adapter.connection);
    texts.name = Shown(adapter.driverName);
    texts.description = Shown(adapter.description);
    texts.mac = FormatMACAddr(adapter.mac);
    texts.medium = GetNdisMediumName(adapter.medium);
    texts.linkSpeed = LinkSpeedText(adapter.linkSpeed);
    texts.address = FormatIPAddr(adapter.address);
    texts.mask = FormatIPAddr(adapter.mask);
    texts.gateway = FormatIPAddr(adapter.gateway);
    texts.dhcp = YesOrNo(adapter.dhcp);
    texts.promiscuous = YesOrNo(adapter.promiscuous);
    return texts;
}

std::wstring LinkSpeedText(std::optional<std::uint64_t> speed) {
    double value = static_cast<double>(speed.value_or(0)) / 1e6;
    wchar_t unit = L'M';
    if (value >= 1000.0) {
        value /= 1000.0;
        unit = L'G';
    }
    const std::wstring text = Sprintf(L"%3.1f %cbps", value, unit);
    return speed ? text : text + L" (unknown)";
}

std::wstring_view GetNdisMediumName(std::uint32_t medium) {
    constexpr std::wstring_view kNames[] = {
        L"NdisMedium802_3",       L"NdisMedium802_5",        L"NdisMediumFddi",
        L"NdisMediumWan",         L"NdisMediumLocalTalk",    L"NdisMediumDix",
        L"NdisMediumArcnetRaw",   L"NdisMediumArcnet878_2",  L"NdisMediumAtm",
        L"NdisMediumWirelessWan", L"NdisMediumIrda",         L"NdisMediumBpc",
        L"NdisMediumCoWan",       L"NdisMedium1394",         L"NdisMediumInfiniBand",
        L"NdisMediumTunnel",      L"NdisMediumNative802_11", L"NdisMediumLoopback",
        L"NdisMediumWiMAX",       L"NdisMediumIP",
    };
    static_assert(std::size(kNames) == 20);
    return medium < std::size(kNames) ? kNames[medium] : L"NdisMediumUnknown";
}

} // namespace vnxtest
