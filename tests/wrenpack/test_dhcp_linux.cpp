// The lease files of the common DHCP clients, in a folder of the test's own.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "wrenpack/dhcp_linux.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;

class DhcpLease : public ::testing::Test {
protected:
    DhcpLease() {
        std::string pattern = (fs::temp_directory_path() / "vnxtest-lease-XXXXXX").string();
        m_root = mkdtemp(pattern.data());
    }
    ~DhcpLease() override { fs::remove_all(m_root); }

    void Write(const std::string& path, const std::string& content) {
        fs::create_directories(fs::path(m_root + path).parent_path());
        std::ofstream(m_root + path, std::ios::binary) << content;
    }
    bool Has() { return HasDhcpLease(m_root, "eth0", 7, Ipv4Address(10, 0, 0, 1)); }

    std::string m_root;
};

TEST_F(DhcpLease, IsFoundWhereEachClientKeepsIt) {
    EXPECT_FALSE(Has());
    const std::string dhclient = "lease {\n  interface \"eth0\";\n  fixed-address 10.0.0.1;\n}\n";
    const std::string message =
        std::string(16, '\0') + std::string("\x0A\0\0\x01", 4) + std::string(220, '\0');
    const std::pair<const char*, std::string> files[] = {
        {"/run/systemd/netif/leases/7", "# private\nADDRESS=10.0.0.1\nNETMASK=255.255.255.0\n"},
        {"/var/lib/dhcp/dhclient.eth0.leases", dhclient},
        {"/var/lib/dhclient/dhclient-eth0.leases", dhclient},
        {"/var/lib/NetworkManager/internal-0815-eth0.lease", "ADDRESS=10.0.0.1\n"},
        {"/var/lib/dhcpcd/eth0.lease", message},
    };
    for (const auto& [path, content] : files) {
        Write(path, content);
        EXPECT_TRUE(Has()) << path;
        fs::remove(m_root + path);
        EXPECT_FALSE(Has()) << path;
    }
}

TEST_F(DhcpLease, OfAnotherAddressOrInterfaceProvesNothing) {
    Write("/var/lib/dhcp/dhclient.eth0.leases", "fixed-address 10.0.0.12;\nfixed-address 110.0.0.1;\n"
                                                "routers 10.0.0.1.2;\n");
    Write("/var/lib/dhcp/dhclient.eth1.leases", "fixed-address 10.0.0.1;\n");
    Write("/run/systemd/netif/leases/8", "ADDRESS=10.0.0.1\n");
    Write("/var/lib/NetworkManager/internal-0815-eth00.lease", "ADDRESS=10.0.0.1\n");
    Write("/var/lib/dhcpcd/eth0.lease", "short");
    EXPECT_FALSE(Has());
    EXPECT_FALSE(HasDhcpLease(m_root, "eth1", 9, Ipv4Address()));
    EXPECT_TRUE(HasDhcpLease(m_root, "eth1", 9, Ipv4Address(10, 0, 0, 1)));
}

} // namespace
} // namespace vnxtest
