#include <algorithm>

#include <arpa/inet.h>

#include "platform/network/resolver_configuration.h"

namespace vnxtest {

namespace {

constexpr std::string_view kBlanks = " \t\r";

bool IsAddress(const std::string& text) {
    in6_addr parsed{};
    return inet_pton(AF_INET, text.c_str(), &parsed) == 1 ||
           inet_pton(AF_INET6, text.substr(0, text.find('%')).c_str(), &parsed) == 1;
}

} // namespace

std::vector<std::string> ParseNameServers(std::string_view text) {
    constexpr std::string_view kKeyword = "nameserver";
    std::vector<std::string> servers;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        // As in the C library: the keyword in the first column, followed by a blank; else the line is
        // skipped.
        if (!line.starts_with(kKeyword) || line.size() == kKeyword.size() ||
            kBlanks.find(line[kKeyword.size()]) == std::string_view::npos) {
            continue;
        }
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks, kKeyword.size()), line.size()));
        std::string address(line.substr(0, line.find_first_of(kBlanks)));
        if (IsAddress(address)) {
            servers.push_back(std::move(address));
        }
    }
    return servers;
}

} // namespace vnxtest
