#include "core/interface_helpers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <optional>

#include "vnetx/records.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

const wchar_t* OrNull(const wchar_t* text) {
    return text != nullptr ? text : L"NULL";
}

std::int32_t FailValidation() {
    SetLastError(kErrorInvalidParameter);
    errno = EINVAL;
    SavedErrors& saved = SavedErrorsOfThread();
    saved.lastError = kErrorInvalidParameter;
    saved.errnoValue = EINVAL;
    return -1;
}

// The step every setter begins with: a zeroed record with the name. Nullopt if the name is missing; that has
// been reported with `nameMessage`.
std::optional<VnetxInterfaceRequest> BeginRequest(const wchar_t* name, const wchar_t* nameMessage) {
    if (name == nullptr || *name == L'\0') {
        LogMsg(nameMessage, OrNull(name));
        return std::nullopt;
    }
    VnetxInterfaceRequest request{};
    SetRequestName(request, name);
    return request;
}

struct AddressSetter {
    std::uint32_t request;
    const wchar_t* nameMessage;
    const wchar_t* valueMessage;
};

std::int32_t SetAddress(VnetxLibrary& library, std::int32_t handle, const wchar_t* name, const wchar_t* value,
                        const AddressSetter& setter) {
    auto request = BeginRequest(name, setter.nameMessage);
    if (!request) {
        return FailValidation();
    }
    const auto address = value != nullptr ? ParseIPAddress(value) : std::nullopt;
    if (!address) {
        LogMsg(setter.valueMessage, name, OrNull(value));
        return FailValidation();
    }
    PutIpv4(*request, *address);
    return library.Ioctl(handle, setter.request, &*request);
}

// Issues a query for the interface of `info`; false on failure, reported with `failureMessage`.
bool Query(VnetxLibrary& library, std::int32_t handle, const INTERFACE_INFO& info, std::uint32_t code,
           const wchar_t* failureMessage, VnetxInterfaceRequest& request) {
    Verify(!info.open.Name().empty());
    request = {};
    SetRequestName(request, info.open.Name().c_str());
    if (library.Ioctl(handle, code, &request) == 0) {
        return true;
    }
    const SavedErrors& saved = SaveErrors();
    LogMsg(failureMessage, info.open.Name(), saved.errnoValue, StrError(saved.errnoValue));
    RestoreSavedErrors();
    return false;
}

} // namespace

void SetRequestName(VnetxInterfaceRequest& request, const wchar_t* name) {
    const std::string narrow = ToNarrow(name);
    const std::size_t length = std::min<std::size_t>(narrow.size(), VNETX_NAME_SIZE - 1);
    std::memcpy(request.name, narrow.data(), length);
    request.name[length] = '\0';
    request.name[VNETX_NAME_SIZE - 1] = '\0';
}

std::int32_t VNETX_SetIPAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                             const wchar_t* value) {
    return SetAddress(library, handle, name, value,
                      {VNETX_SIOCSIFADDR, L"KXMTU005E Invalid net device name \"%s\"\n",
                       L"KXMTU006E %s: Invalid IP address \"%s\"\n"});
}

std::int32_t VNETX_SetDestAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                               const wchar_t* value) {
    return SetAddress(library, handle, name, value,
                      {VNETX_SIOCSIFDSTADDR, L"KXMTU007E Invalid net device name \"%s\"\n",
                       L"KXMTU008E %s: Invalid destination address \"%s\"\n"});
}

std::int32_t VNETX_SetNetMask(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                              const wchar_t* value) {
    return SetAddress(library, handle, name, value,
                      {VNETX_SIOCSIFNETMASK, L"KXMTU009E Invalid net device name \"%s\"\n",
                       L"KXMTU010E %s: Invalid net mask \"%s\"\n"});
}

// 009 and 010 are the numbers of the broadcast address, too: users know these messages.
std::int32_t VNETX_SetBcastAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                                const wchar_t* value) {
    return SetAddress(library, handle, name, value,
                      {VNETX_SIOCSIFBRDADDR, L"KXMTU009E Invalid net device name \"%s\"\n",
                       L"KXMTU010E %s: Invalid broadcast address \"%s\"\n"});
}

std::int32_t VNETX_SetMTU(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                          const wchar_t* value) {
    constexpr long kMinimumMtu = 46;
    constexpr long kMaximumMtu = 65536;
    auto request = BeginRequest(name, L"KXMTU011E Invalid net device name \"%s\"\n");
    if (!request) {
        return FailValidation();
    }
    if (value == nullptr || *value == L'\0') {
        LogMsg(L"KXMTU012E %s: Invalid null or empty MTU.\n", name);
        return FailValidation();
    }
    const long mtu = std::wcstol(value, nullptr, 10);
    if (mtu < kMinimumMtu || mtu > kMaximumMtu) {
        LogMsg(L"KXMTU013E %s: Invalid MTU \"%s\"\n", name, value);
        return FailValidation();
    }
    request->u.mtu = static_cast<std::uint32_t>(mtu);
    return library.Ioctl(handle, VNETX_SIOCSIFMTU, &*request);
}

std::int32_t VNETX_SetMACAddr(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                              const wchar_t* value) {
    auto request = BeginRequest(name, L"KXMTU014E Invalid net device name \"%s\"\n");
    if (!request) {
        return FailValidation();
    }
    const auto mac = value != nullptr ? ParseMACAddress(value) : std::nullopt;
    if (!mac) {
        LogMsg(L"KXMTU015E %s: Invalid MAC address \"%s\"\n", name, OrNull(value));
        return FailValidation();
    }
    PutMac(*request, *mac);
    return library.Ioctl(handle, VNETX_SIOCSIFHWADDR, &*request);
}

std::int32_t VNETX_SetFlags(VnetxLibrary& library, std::int32_t handle, const wchar_t* name,
                            std::uint32_t flags) {
    auto request = BeginRequest(name, L"KXMTU016E Invalid net device name \"%s\"\n");
    if (!request) {
        return FailValidation();
    }
    request->u.flags = static_cast<std::uint16_t>(flags);
    return library.Ioctl(handle, VNETX_SIOCSIFFLAGS, &*request);
}

MacAddress GuestMacOf(VnetxLibrary& library, Ipv4Address guest) {
    std::array<std::uint8_t, 6> mac{};
    library.BuildVantIfaceMac(mac.data(), guest.Bytes().data());
    return MacAddress(mac);
}

bool GetInterfaceMACAddr(VnetxLibrary& library, std::int32_t handle, INTERFACE_INFO& info) {
    VnetxInterfaceRequest request;
    if (!Query(library, handle, info, VNETX_SIOCGIFHWADDR,
               L"** GetInterfaceMACAddr(%s) failed; errno=%d: %s\n", request)) {
        return false;
    }
    Verify(request.u.hardware.family == VNETX_ARPHRD_ETHER);
    info.addresses.guestMac = MacIn(request);
    return true;
}

bool GetAdapterIPAddr(VnetxLibrary& library, std::int32_t handle, INTERFACE_INFO& info) {
    VnetxInterfaceRequest request;
    if (!Query(library, handle, info, VNETX_SIOCGIFADDR, L"** GetAdapterIPAddr(%s) failed; errno=%d: %s\n",
               request)) {
        return false;
    }
    info.addresses.adapterIp = Ipv4In(request);
    info.asked.adapterIpText = FormatIPAddr(info.addresses.adapterIp);
    return true;
}

} // namespace vnxtest
