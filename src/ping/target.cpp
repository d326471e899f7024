#include "ping/target.h"

#include "platform/resolver.h"

namespace vnxtest {

bool ResolveTarget(std::wstring_view name, Ipv4Address& address, std::wstring& errorText) {
    return ResolveIpv4Name(name, address, errorText);
}

bool ValidateTarget(std::wstring_view name, Ipv4Address& address, std::wstring& message) {
    message = L"Please enter a valid IP address or name.";
    if (name.empty()) {
        return false;
    }
    std::wstring errorText;
    if (ResolveTarget(name, address, errorText)) {
        message.clear();
        return true;
    }
    message = errorText + L"\n" + message;
    return false;
}

} // namespace vnxtest
