#include <windows.h>

#include <algorithm>
#include <string_view>

#include "platform/network/device_names.h"
#include "wrenlib/driver_prefix.h"

namespace vnxtest {

DeviceNames GetDeviceNames() {
    constexpr std::size_t kLargest = 16U * 1024 * 1024;
    DeviceNames result;
    std::vector<wchar_t> buffer(64U * 1024);
    DWORD length = 0;
    // The call reports that its buffer is too small, but not the needed size.
    while ((length = QueryDosDeviceW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()))) == 0) {
        const DWORD code = GetLastError();
        if (code != ERROR_INSUFFICIENT_BUFFER || buffer.size() >= kLargest) {
            result.code = code != 0 ? code : ERROR_GEN_FAILURE;
            return result;
        }
        buffer.resize(buffer.size() * 2);
    }
    const std::wstring_view all(buffer.data(), length);
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find(L'\0', at), all.size());
        const std::wstring_view name = all.substr(at, end - at);
        if (name.starts_with(kDriverPrefix) || name.starts_with(L"Packet_")) {
            result.names.emplace_back(name);
        }
        at = end + 1;
    }
    return result;
}

} // namespace vnxtest
