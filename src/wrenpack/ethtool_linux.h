// What a Linux network driver tells through the ethtool calls: features, speed, driver. One thread at a
// time.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

// One control socket for any number of adapters. A driver that does not answer yields empty values.
class Ethtool {
public:
    Ethtool();
    ~Ethtool();
    Ethtool(const Ethtool&) = delete;
    Ethtool& operator=(const Ethtool&) = delete;

    // The features of one adapter, by the names that the kernel gives them. Not to outlive the Ethtool.
    class Features {
    public:
        // True if the driver supports it: it can be switched on, or is always on.
        bool IsPresent(std::string_view name) const;
        bool IsActive(std::string_view name) const;

    private:
        friend class Ethtool;
        const std::map<std::string, std::size_t, std::less<>>* m_bits = nullptr;
        std::vector<std::uint32_t> m_available; // can be switched
        std::vector<std::uint32_t> m_active;
    };
    Features GetFeatures(const std::string& interfaceName);

    // Megabits per second; 0 if the driver does not know.
    std::uint32_t GetLinkSpeed(const std::string& interfaceName);

    // "e1000e at 0000:00:1f.6", or the driver's name alone.
    std::string DescribeDriver(const std::string& interfaceName);

private:
    bool Call(const std::string& interfaceName, void* command);

    int m_socket;
    std::map<std::string, std::size_t, std::less<>> m_bits; // bit number of each feature; the same for all
    std::size_t m_featureCount = 0;
};

} // namespace vnxtest
