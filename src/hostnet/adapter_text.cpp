#include "hostnet/adapter_text.h"

#include <array>

#include "wrenlib/address.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {
std::wstring YesOrNo(std::uint32_t field, bool known) {
    return field != 0 ? L"Yes" : known ? L"No" : L"unknown";
}
} // namespace

AdapterTexts GetAdapterTexts(const ADAPTER_INFO_LIST_ENTRY& entry, const WrenPackLibrary& library) {
    AdapterTexts texts;
    texts.connection = MakeVisible(TrimBlanks(FieldText(entry.Connection)));
    texts.name = MakeVisible(TrimBlanks(FieldText(entry.AdapterName)));
    texts.description = MakeVisible(TrimBlanks(FieldText(entry.Description)));
    texts.mac = FormatMACAddr(MacAddress(std::to_array(entry.PhysAddr)));
    texts.medium = GetNdisMediumName(entry.LinkType);
    texts.linkSpeed = LinkSpeedText(entry.LinkSpeed);
    texts.address = FormatIPAddr(Ipv4Address::FromMemory(entry.IPAddr));
    texts.mask = FormatIPAddr(Ipv4Address::FromMemory(entry.IPAddrMask));
    texts.gateway = FormatIPAddr(Ipv4Address::FromMemory(entry.GatewayIPAddr));
    const AdapterFacts facts = library.FactsOf(entry);
    texts.dhcp = YesOrNo(entry.DHCP, facts.dhcpKnown);
    texts.promiscuous = YesOrNo(entry.PromiscuousMode, facts.promiscuousKnown);
    return texts;
}

std::wstring LinkSpeedText(std::uint32_t speed) {
    double value = speed / 10000.0;
    wchar_t unit = L'M';
    if (value >= 1000.0) {
        value /= 1000.0;
        unit = L'G';
    }
    const std::wstring text = Sprintf(L"%3.1f %cbps", value, unit);
    return speed == 0 ? text + L" (unknown)" : text;
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
