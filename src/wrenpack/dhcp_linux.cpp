#include "wrenpack/dhcp_linux.h"

#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "wrenlib/text.h"

namespace vnxtest {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestLeaseFile = std::uintmax_t{1024} * 1024;

std::string ReadLease(const fs::path& path) {
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(path, failure);
    if (failure || size > kLargestLeaseFile) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The address as a whole word: 10.0.0.1 is not in "10.0.0.12".
bool HoldsAddress(const std::string& text, const std::string& address) {
    for (std::size_t at = text.find(address); at != std::string::npos; at = text.find(address, at + 1)) {
        const auto belongs = [&](std::size_t index) {
            return index < text.size() &&
                   (std::isdigit(static_cast<unsigned char>(text[index])) != 0 || text[index] == '.');
        };
        if ((at == 0 || !belongs(at - 1)) && !belongs(at + address.size())) {
            return true;
        }
    }
    return false;
}

// dhcpcd keeps the server's message (RFC 2131): "your address" stands at byte 16.
bool IsMessageFor(const std::string& message, Ipv4Address address) {
    constexpr std::size_t kYourAddress = 16;
    return message.size() >= kYourAddress + 4 &&
           std::memcmp(message.data() + kYourAddress, address.Bytes().data(), 4) == 0;
}

} // namespace

bool HasDhcpLease(const std::string& root, const std::string& interfaceName, std::uint32_t interfaceIndex,
                  Ipv4Address address) {
    if (address.IsZero()) {
        return false;
    }
    const std::string text = ToNarrow(FormatIPAddr(address));
    const std::string textFiles[] = {
        root + "/run/systemd/netif/leases/" + std::to_string(interfaceIndex),
        root + "/var/lib/dhcp/dhclient." + interfaceName + ".leases",
        root + "/var/lib/dhclient/dhclient-" + interfaceName + ".leases",
    };
    for (const std::string& file : textFiles) {
        if (HoldsAddress(ReadLease(file), text)) {
            return true;
        }
    }
    for (const char* folder : {"/var/lib/dhcpcd/", "/var/lib/dhcpcd5/"}) {
        if (IsMessageFor(ReadLease(root + folder + interfaceName + ".lease"), address)) {
            return true;
        }
    }
    // NetworkManager: internal-<connection>-<interface>.lease.
    std::error_code failure;
    const std::string ending = "-" + interfaceName + ".lease";
    for (fs::directory_iterator entry(root + "/var/lib/NetworkManager", failure), end;
         !failure && entry != end; entry.increment(failure)) {
        if (entry->path().filename().string().ends_with(ending) &&
            HoldsAddress(ReadLease(entry->path()), text)) {
            return true;
        }
    }
    return false;
}

} // namespace vnxtest
