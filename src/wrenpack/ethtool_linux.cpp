#include "wrenpack/ethtool_linux.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vnxtest {

namespace {

// The ethtool records end in an array whose length the kernel decides; they are built in words, so
// that they are aligned as the kernel's are.
using Record = std::vector<std::uint32_t>;

constexpr std::size_t Words(std::size_t bytes) {
    return (bytes + 3) / 4;
}

template <typename Head>
Head HeadOf(const Record& record) {
    Head head;
    std::memcpy(&head, record.data(), std::min(sizeof head, record.size() * 4));
    return head;
}

bool IsSet(const std::vector<std::uint32_t>& words, std::size_t bit) {
    return bit / 32 < words.size() && (words[bit / 32] >> (bit % 32) & 1U) != 0;
}

} // namespace

Ethtool::Ethtool() : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

Ethtool::~Ethtool() {
    if (m_socket >= 0) {
        close(m_socket);
    }
}

bool Ethtool::Call(const std::string& interfaceName, void* command) {
    ifreq request{};
    if (interfaceName.size() >= sizeof request.ifr_name) {
        return false;
    }
    std::memcpy(request.ifr_name, interfaceName.c_str(), interfaceName.size());
    request.ifr_data = static_cast<char*>(command);
    return ioctl(m_socket, SIOCETHTOOL, &request) == 0;
}

bool Ethtool::Features::IsActive(std::string_view name) const {
    const auto found = m_bits != nullptr ? m_bits->find(name) : decltype(m_bits->find(name)){};
    return m_bits != nullptr && found != m_bits->end() && IsSet(m_active, found->second);
}

bool Ethtool::Features::IsPresent(std::string_view name) const {
    const auto found = m_bits != nullptr ? m_bits->find(name) : decltype(m_bits->find(name)){};
    return m_bits != nullptr && found != m_bits->end() &&
           (IsSet(m_active, found->second) || IsSet(m_available, found->second));
}

Ethtool::Features Ethtool::GetFeatures(const std::string& interfaceName) {
    Features features;
    if (m_bits.empty()) {
        Record info(Words(sizeof(ethtool_sset_info)) + 1);
        info[0] = ETHTOOL_GSSET_INFO;
        info[offsetof(ethtool_sset_info, sset_mask) / 4] = 1U << ETH_SS_FEATURES; // the low half of the mask
        if (!Call(interfaceName, info.data()) || info[offsetof(ethtool_sset_info, sset_mask) / 4] == 0) {
            return features;
        }
        const std::uint32_t count = info[offsetof(ethtool_sset_info, data) / 4];
        m_featureCount = count;
        Record names(Words(sizeof(ethtool_gstrings)) + Words(std::size_t{count} * ETH_GSTRING_LEN));
        names[0] = ETHTOOL_GSTRINGS;
        names[1] = ETH_SS_FEATURES;
        names[2] = count;
        if (!Call(interfaceName, names.data())) {
            return features;
        }
        const char* text = reinterpret_cast<const char*>(names.data()) + sizeof(ethtool_gstrings);
        for (std::size_t bit = 0; bit < count; ++bit, text += ETH_GSTRING_LEN) {
            m_bits.try_emplace(std::string(text, strnlen(text, ETH_GSTRING_LEN)), bit);
        }
    }
    const std::size_t blocks = (m_featureCount + 31) / 32;
    constexpr std::size_t kWordsOfBlock = sizeof(ethtool_get_features_block) / 4;
    Record record(2 + blocks * kWordsOfBlock);
    record[0] = ETHTOOL_GFEATURES;
    record[1] = static_cast<std::uint32_t>(blocks);
    if (!Call(interfaceName, record.data())) {
        return features;
    }
    for (std::size_t block = 0; block < blocks; ++block) {
        ethtool_get_features_block words;
        std::memcpy(&words, record.data() + 2 + block * kWordsOfBlock, sizeof words);
        features.m_available.push_back(words.available);
        features.m_active.push_back(words.active);
    }
    features.m_bits = &m_bits;
    return features;
}

std::uint32_t Ethtool::GetLinkSpeed(const std::string& interfaceName) {
    // The first call only returns the length of the masks behind the record, as a negative count.
    constexpr std::size_t kHead = Words(sizeof(ethtool_link_settings));
    Record record(kHead);
    record[0] = ETHTOOL_GLINKSETTINGS;
    if (!Call(interfaceName, record.data())) {
        return 0;
    }
    auto head = HeadOf<ethtool_link_settings>(record);
    if (head.link_mode_masks_nwords >= 0) {
        return 0;
    }
    head.link_mode_masks_nwords = static_cast<std::int8_t>(-head.link_mode_masks_nwords);
    head.cmd = ETHTOOL_GLINKSETTINGS;
    record.assign(kHead + 3 * static_cast<std::size_t>(head.link_mode_masks_nwords), 0);
    std::memcpy(record.data(), &head, sizeof head);
    if (!Call(interfaceName, record.data())) {
        return 0;
    }
    const std::uint32_t speed = HeadOf<ethtool_link_settings>(record).speed;
    return speed == static_cast<std::uint32_t>(SPEED_UNKNOWN) || speed == 0xFFFF ? 0 : speed;
}

std::string Ethtool::DescribeDriver(const std::string& interfaceName) {
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    if (!Call(interfaceName, &info)) {
        return {};
    }
    std::string text(info.driver, strnlen(info.driver, sizeof info.driver));
    const std::string bus(info.bus_info, strnlen(info.bus_info, sizeof info.bus_info));
    // Drivers without a bus leave it empty or name themselves, or "N/A".
    if (!bus.empty() && bus != "N/A" && bus != text) {
        text += " at " + bus;
    }
    return text;
}

} // namespace vnxtest
