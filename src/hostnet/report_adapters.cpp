#include "hostnet/adapter_text.h"
#include "hostnet/banner.h"
#include "hostnet/report_sections.h"
#include "platform/system/host_advice.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"
#include "wrenpack/offload_settings.h"

namespace vnxtest {

namespace {

// The adapters that are open while the list is written; the destructor closes all.
class OpenedFPAdapterHandles {
public:
    explicit OpenedFPAdapterHandles(WrenPackLibrary& library) : m_library(library) {}
    ~OpenedFPAdapterHandles() { m_library.CloseAdapters(m_handles); }
    OpenedFPAdapterHandles(const OpenedFPAdapterHandles&) = delete;
    OpenedFPAdapterHandles& operator=(const OpenedFPAdapterHandles&) = delete;

    void Add(AdapterHandle handle) { m_handles.push_back(handle); }
    bool IsEmpty() const { return m_handles.empty(); }

private:
    WrenPackLibrary& m_library;
    std::vector<AdapterHandle> m_handles;
};

std::wstring EnabledOrNo(bool enabled) {
    return enabled ? L"ENABLED" : L"no";
}

// For a host whose adapters (`areThere`) all failed to open, or that has none.
void WriteNoUsableAdapters(bool areThere) {
    const HostAdvice advice = GetHostAdvice();
    LogBanner(
        BannerKind::Error,
        {L"No usable adapters of the packet library were found.",
         L"Netorra binds each virtual interface to a host adapter. Without one that can be opened, no guest can be started on a real network.",
         areThere ? advice.openFailed : advice.noAdapters, advice.virtualAdapter},
        kHelpTopicAdapters);
}

void WriteIdentity(const HostAdapter& adapter, const AdapterTexts& texts, bool isDefault) {
    LogMsg(L"Connection          = %s\n", texts.connection);
    LogMsg(L"AdapterName         = %s\n", texts.name);
    LogMsg(L"Description         = %s\n", texts.description);
    LogMsg(L"PhysAddr            = %s\n", texts.mac);
    LogMsg(L"LinkType            = %s\n", texts.medium);
    LogMsg(L"Default Adapter?    = %s\n", std::wstring(isDefault ? L"Yes" : L"No"));
    LogMsg(L"MediaConnected?     = %s\n",
           std::wstring(adapter.mediaConnected ? L"Yes" : L"No                   ** CABLE UNPLUGGED **"));
    LogMsg(L"PromiscuousMode?    = %s\n", texts.promiscuous == L"No"
                                              ? texts.promiscuous + L"                   ** WARNING **"
                                              : texts.promiscuous);
    LogMsg(L"DHCP Enabled?       = %s\n", texts.dhcp);
    LogMsg(L"LinkSpeed           = %s\n", texts.linkSpeed);
    LogMsg(L"MaxPacketLen        = %d\n", adapter.largestPacket);
    LogMsg(L"IPAddr              = %s\n", texts.address);
    LogMsg(L"IPAddrMask          = %s\n", texts.mask);
    LogMsg(L"GatewayIPAddr       = %s\n", texts.gateway);
    LogMsg(L"dwIndex             = 0x%08.8X\n", adapter.index);
}

std::wstring ChecksumText(std::uint32_t flags, bool version4) {
    std::wstring text = L"TCP " + EnabledOrNo((flags & kChecksumTcp) != 0) + L", UDP " +
                        EnabledOrNo((flags & kChecksumUdp) != 0);
    return version4 ? text + L", IP " + EnabledOrNo((flags & kChecksumIp) != 0) : text;
}

void WriteChecksumOffload(const HostAdapter& adapter) {
    if (adapter.checksumOffloadOverridden) {
        LogMsg(L"Checksum Offloading = OVERRIDDEN\n");
    } else if (!adapter.checksumOffload) {
        LogMsg(L"Checksum Offloading = no\n");
    } else {
        LogMsg(L"Checksum Offloading = Yes\n");
        LogMsg(L"    V4Transmit      = %s\n", ChecksumText(adapter.checksumOffload->v4Transmit, true));
        LogMsg(L"    V4Receive       = %s\n", ChecksumText(adapter.checksumOffload->v4Receive, true));
        LogMsg(L"    V6Transmit      = %s\n", ChecksumText(adapter.checksumOffload->v6Transmit, false));
        LogMsg(L"    V6Receive       = %s\n", ChecksumText(adapter.checksumOffload->v6Receive, false));
    }
}

void WriteLso(std::uint8_t flags) {
    const auto word = [flags](LsoFlag present) {
        return (flags & present) == 0 ? std::wstring(L"no?") : EnabledOrNo((flags & present << 2) != 0);
    };
    LogMsg(L"LSO v1 (IPv4)       = %s\n", word(kLsoV1Ipv4Present));
    LogMsg(L"LSO v1 (IPv6)       = %s\n", word(kLsoV1Ipv6Present));
    LogMsg(L"LSO v2 (IPv4)       = %s\n", word(kLsoV2Ipv4Present));
    LogMsg(L"LSO v2 (IPv6)       = %s\n", word(kLsoV2Ipv6Present));
}

void WarnOfDefaultAdapter(const HostAdapter& adapter, const AdapterTexts& texts, std::uint8_t lsoFlags) {
    if (!adapter.mediaConnected) {
        LogBanner(
            BannerKind::Warning,
            {L"Your default adapter \"" + texts.connection + L"\" is not connected to the network.",
             L"The Netorra test needs a link: until there is one, no packet leaves this host or comes in, and every ping will time out.",
             L"Plug the cable in (or set the other end of the link up), or choose another adapter for the guest."},
            kHelpTopicAdapters);
    }
    if (texts.promiscuous == L"No") {
        LogBanner(
            BannerKind::Warning,
            {L"Your default adapter \"" + texts.connection +
                 L"\" cannot be put into promiscuous mode, as is common for wireless adapters.",
             L"A Netorra guest has a MAC address of its own. Packets that are sent to it will not be delivered by this adapter, so the guest hears nothing but broadcasts.",
             L"Choose a wired adapter for the guest."},
            kHelpTopicPromiscuous);
    }
    if ((lsoFlags & kLsoEnabledMask) != 0) {
        LogBanner(
            BannerKind::Warning,
            {L"Large Segment Offload (LSO) is enabled on your default adapter \"" + texts.connection + L"\".",
             L"With LSO the host hands over TCP segments that are larger than any packet on the wire. The Netorra guest receives them so, cannot use them, and TCP between host and guest becomes slow or stops. Pings are not affected.",
             Sprintf(GetHostAdvice().lsoOff, texts.connection)},
            kHelpTopicOffload);
    }
}

void ReportOpenFailure(const Failure& failure, const AdapterTexts& texts, bool isDefault) {
    const std::uint32_t code = failure.lastError;
    LogMsg(L"** WrenPackOpenAdapter(%s) failed; rc=%d: %s\n", texts.name, code, FormatLastError(code));
    LogMsg(L"\n");
    if (isDefault) {
        LogBanner(
            BannerKind::Error,
            {L"Your default adapter \"" + texts.connection + L"\" could not be opened: " +
                 EndSentence(FormatLastError(code)),
             L"Netorra cannot read or write packets on it, so a guest that is bound to it cannot be started.",
             GetHostAdvice().openFailed},
            kHelpTopicAdapters);
    }
}

void WriteAdapter(const HostNetwork& host, const HostAdapter& adapter, OpenedFPAdapterHandles& opened) {
    WrenPackLibrary& library = host.Sources().adapters;
    const bool isDefault = host.IsDefaultAdapter(adapter);
    const AdapterTexts texts = GetAdapterTexts(adapter);
    const std::uint8_t lsoFlags = GetAdapterLSOFlags(TrimBlanks(adapter.driverName));
    WriteIdentity(adapter, texts, isDefault);
    WriteChecksumOffload(adapter);
    WriteLso(lsoFlags);
    LogMsg(L"\n");
    const auto handle = library.OpenAdapter(adapter);
    if (!handle) {
        ReportOpenFailure(handle.error(), texts, isDefault);
        return;
    }
    opened.Add(*handle);
    if (isDefault) {
        WarnOfDefaultAdapter(adapter, texts, lsoFlags);
    }
}

} // namespace

void WriteDetectedAdapters(HostNetwork& host) {
    LogMsg(L"--------------------------  Detected Adapters  --------------------------\n\n");
    if (!host.InitFPAdaptersList()) {
        WriteNoUsableAdapters(false);
        return;
    }
    OpenedFPAdapterHandles opened(host.Sources().adapters);
    for (const HostAdapter& adapter : host.Adapters()) {
        WriteAdapter(host, adapter, opened);
    }
    if (opened.IsEmpty()) {
        WriteNoUsableAdapters(true);
    }
}

} // namespace vnxtest
