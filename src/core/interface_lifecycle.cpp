#include "core/interface_lifecycle.h"

#include <cerrno>
#include <string>

#include "core/interface_helpers.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr std::uint32_t kReadTimeout = 250; // milliseconds

// One run of CreateInterface: the steps in order, each reporting its own failure.
class InterfaceCreator {
public:
    InterfaceCreator(INTERFACE_INFO& info, VnetxLibrary& library, const RunSettings& settings)
        : m_info(info), m_library(library), m_settings(settings) {}

    std::int32_t Run();

private:
    bool OpenDevice();
    bool SetDebugFlags();
    bool SetInterfaceType();
    bool SetAddresses();
    bool SetMacAddress();
    bool SetBuffers();
    bool BringUp();

    // Reports "** CreateInterface(name): <what> failed; errno=...", where the name is the interface's
    // as soon as it has one and the device's before. Always false.
    bool Fail(std::wstring_view what);
    bool Check(std::int32_t result, std::wstring_view what) { return result == 0 || Fail(what); }
    std::int32_t RequestValue(std::uint32_t request, std::uint32_t value, bool withName);
    std::int32_t CloseExit();
    const wchar_t* Name() const { return m_info.open.Name().c_str(); }

    INTERFACE_INFO& m_info;
    VnetxLibrary& m_library;
    const RunSettings& m_settings;
    std::wstring m_device;
    std::int32_t m_handle = -1;
};

bool InterfaceCreator::Fail(std::wstring_view what) {
    const SavedErrors& saved = SaveErrors();
    LogMsg(L"** CreateInterface(%s): %s failed; errno=%d: %s\n",
           m_info.open.Name().empty() ? m_device : m_info.open.Name(), std::wstring(what), saved.errnoValue,
           StrError(saved.errnoValue));
    return false;
}

std::int32_t InterfaceCreator::RequestValue(std::uint32_t request, std::uint32_t value, bool withName) {
    VnetxInterfaceRequest record{};
    if (withName) {
        SetRequestName(record, Name());
    }
    record.u.value = value;
    return m_library.Ioctl(m_handle, request, &record);
}

bool InterfaceCreator::OpenDevice() {
    m_device = !m_info.asked.adapterIpText.empty() ? m_info.asked.adapterIpText : m_info.asked.adapterMacText;
    std::int32_t flags = VNETX_OPEN_READ_WRITE;
    if (m_settings.socketNotifyMode) {
        flags |= VNETX_OPEN_SOCKET_NOTIFY;
    }
    m_handle = m_info.open.Open(m_library, ToNarrow(m_device).c_str(), flags);
    return m_handle >= 0 || Fail(L"vnetx32_open");
}

bool InterfaceCreator::SetDebugFlags() {
    return Check(RequestValue(VNETX_TUNSETDEBUG, m_settings.debugFlags, false),
                 L"vnetx32_ioctl(TUNSETDEBUG)");
}

bool InterfaceCreator::SetInterfaceType() {
    VnetxInterfaceRequest record{};
    const auto flags =
        static_cast<std::uint16_t>((m_info.asked.tapMode ? VNETX_IFF_TAP : VNETX_IFF_TUN) | VNETX_IFF_NO_PI);
    record.u.flags = flags;
    std::int32_t result = m_library.Ioctl(m_handle, VNETX_TUNSETIFF, &record);
    if (result != 0 && errno == EINVAL) {
        // An older library knows the request by its old code only.
        record = {};
        record.u.flags = flags;
        result = m_library.Ioctl(m_handle, VNETX_TUNSETIFF_OLD, &record);
    }
    if (result != 0) {
        return Fail(L"vnetx32_ioctl(TUNSETIFF)");
    }
    record.name[VNETX_NAME_SIZE - 1] = '\0';
    m_info.open.SetName(ToWide(record.name));
    if (m_info.open.Name().empty()) {
        LogMsg(L"** CreateInterface(%s): interface name is empty!\n", m_device);
        return false;
    }
    return !m_settings.debugMode ||
           Check(VNETX_SetFlags(m_library, m_handle, Name(), VNETX_IFF_DEBUG), L"VNETX_SetFlags(IFF_DEBUG)");
}

bool InterfaceCreator::SetAddresses() {
    if (!m_info.asked.adapterIpText.empty() &&
        !Check(VNETX_SetIPAddr(m_library, m_handle, Name(), m_info.asked.adapterIpText.c_str()),
               L"VNETX_SetIPAddr")) {
        return false;
    }
    if (m_info.asked.guestIpText.empty()) {
        LogMsg(L"** CreateInterface(%s): interface IP address is empty!\n", m_device);
        return false;
    }
    if (!Check(VNETX_SetDestAddr(m_library, m_handle, Name(), m_info.asked.guestIpText.c_str()),
               L"VNETX_SetDestAddr")) {
        return false;
    }
    const std::wstring mask =
        m_info.addresses.inAdapterSubnet ? FormatIPAddr(m_info.addresses.netMask) : L"255.255.255.255";
    if (!Check(VNETX_SetNetMask(m_library, m_handle, Name(), mask.c_str()), L"VNETX_SetNetMask")) {
        return false;
    }
    return m_info.addresses.broadcastText.empty() ||
           Check(VNETX_SetBcastAddr(m_library, m_handle, Name(), m_info.addresses.broadcastText.c_str()),
                 L"VNETX_SetBcastAddr");
}

bool InterfaceCreator::SetMacAddress() {
    if (m_info.asked.guestMacText.empty()) {
        return GetInterfaceMACAddr(m_library, m_handle, m_info) || Fail(L"GetInterfaceMACAddr()");
    }
    if (VNETX_SetMACAddr(m_library, m_handle, Name(), m_info.asked.guestMacText.c_str()) == 0) {
        return true;
    }
    const SavedErrors& saved = SaveErrors();
    LogMsg(L"** CreateInterface(%s): VNETX_SetMACAddr(%s) failed; errno=%d: %s\n", m_info.open.Name(),
           m_info.asked.guestMacText, saved.errnoValue, StrError(saved.errnoValue));
    return false;
}

bool InterfaceCreator::SetBuffers() {
    // In socket-notify mode the thread waits on the socket itself, without a read time-out.
    if (!m_settings.socketNotifyMode &&
        !Check(RequestValue(VNETX_VNXSTIMEOUT, kReadTimeout, true), L"vnetx32_ioctl(VNXSTIMEOUT)")) {
        return false;
    }
    return Check(RequestValue(VNETX_VNXSDEVBUFF, m_settings.driverBufferSize, true),
                 L"vnetx32_ioctl(VNXSDEVBUFF)") &&
           Check(RequestValue(VNETX_VNXSIOBUFF, m_settings.dllBufferSize, true),
                 L"vnetx32_ioctl(VNXSIOBUFF)");
}

bool InterfaceCreator::BringUp() {
    LogMsg(L"*** Interface %s enabled/up... (ip=%s, mac=%s)\n\n", m_info.open.Name(),
           m_info.asked.guestIpText, m_info.asked.guestMacText);
    std::uint32_t flags = VNETX_IFF_UP;
    if (m_settings.debugMode) {
        flags |= VNETX_IFF_DEBUG;
    }
    return Check(VNETX_SetFlags(m_library, m_handle, Name(), flags),
                 m_settings.debugMode ? L"VNETX_SetFlags(IFF_UP|IFF_DEBUG)" : L"VNETX_SetFlags(IFF_UP)");
}

std::int32_t InterfaceCreator::CloseExit() {
    LogMsg(L"*** Interface %s closed... (ip=%s, mac=%s)\n", m_info.open.Name(), m_info.asked.guestIpText,
           m_info.asked.guestMacText);
    m_info.open.Close();
    RestoreSavedErrors();
    return -1;
}

std::int32_t InterfaceCreator::Run() {
    m_info.open.SetName({});
    m_info.counted.Clear();
    if (!OpenDevice()) {
        RestoreSavedErrors();
        return -1;
    }
    if (!SetDebugFlags() || !SetInterfaceType() || !SetAddresses() || !SetMacAddress() || !SetBuffers() ||
        !BringUp()) {
        return CloseExit();
    }
    // Published last: a writer that sees the handle sees everything that was set up above.
    m_info.open.Publish();
    return m_handle;
}

std::uint32_t Kilobytes(std::uint32_t bytes) {
    return bytes / 1024 + (bytes % 1024 != 0 ? 1 : 0);
}

} // namespace

std::int32_t CreateInterface(INTERFACE_INFO& info, VnetxLibrary& library, const RunSettings& settings) {
    return InterfaceCreator(info, library, settings).Run();
}

void ReportStatisticsAndClose(INTERFACE_INFO& info, VnetxLibrary& library) {
    const std::int32_t handle = info.open.Handle();
    VnetxStatistics statistics{};
    statistics.length = sizeof statistics;
    if (Verify(library.GetStats(handle, &statistics) == 0)) {
        info.counted.statistics = statistics;
    }
    info.counted.droppedByDriver = library.DroppedByDriver(handle);
    info.counted.noticed = library.Noticed(handle);
    const std::wstring text =
        Sprintf(L"*** Statistics for Interface %s:\n\n"
                L"Size of Kernel Capture Buffer:   %5uK\n"
                L"Size of DLL I/O Buffer:          %5uK\n"
                L"Maximum DLL I/O Bytes Received:  %5uK\n\n"
                L"%9d  Total Write Calls\n"
                L"%9d  Total Write I/Os\n"
                L"%9d  Packets To All Zeroes MAC Written\n"
                L"%9d  Packets From All Zeroes MAC Written\n"
                L"%9d  Total Packets Written\n"
                L"%9d  Total Bytes Written\n\n"
                L"%9d  Total Read Calls\n"
                L"%9d  Total Read I/Os\n"
                L"%9d  Internally Handled ARP Packets\n"
                L"%9d  Packets From Ourself\n"
                L"%9d  Total Ignored Packets\n"
                L"%9d  Packets To All Zeroes MAC Read\n"
                L"%9d  Packets From All Zeroes MAC Read\n"
                L"%9d  Total Packets Read\n"
                L"%9d  Total Bytes Read\n\n",
                info.open.Name(), Kilobytes(statistics.kernelBufferSize), Kilobytes(statistics.ioBufferSize),
                Kilobytes(statistics.maximumBytesReceived), statistics.writeCalls, statistics.writeIos,
                statistics.toZeroMacWritten, statistics.fromZeroMacWritten, statistics.packetsWritten,
                statistics.bytesWritten, statistics.readCalls, statistics.readIos, statistics.internalArps,
                statistics.fromOurself, statistics.ignored, statistics.toZeroMacRead,
                statistics.fromZeroMacRead, statistics.packetsRead, statistics.bytesRead);
    LogMsg(L"%s", text);

    info.open.Close();
    LogMsg(L"** Interface %s closed... (ip=%s, mac=%s)\n", info.open.Name(), info.asked.guestIpText,
           info.asked.guestMacText);
}

} // namespace vnxtest
