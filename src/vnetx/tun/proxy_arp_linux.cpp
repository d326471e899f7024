#include "vnetx/tun/proxy_arp_linux.h"

#include <fstream>

namespace vnxtest {

std::optional<bool> AnswersArpForOthers(const std::string& adapter) {
    std::optional<bool> result;
    for (const std::string& scope : {std::string("all"), adapter}) {
        std::ifstream file("/proc/sys/net/ipv4/conf/" + scope + "/proxy_arp");
        int value = 0;
        if (file >> value) {
            result = result.value_or(false) || value != 0;
        }
    }
    return result;
}

} // namespace vnxtest
