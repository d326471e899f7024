#include "wrenpack/host_adapter.h"

#include <algorithm>

#include "wrenlib/driver_prefix.h"

namespace vnxtest {

std::wstring DriverNameOf(std::wstring_view identifier) {
    return std::wstring(kDriverPrefix).append(identifier);
}

std::wstring_view IdentifierOf(std::wstring_view driverName) {
    return driverName.substr(std::min(driverName.size(), kDriverPrefix.size()));
}

} // namespace vnxtest
