// The lease files of the common DHCP clients, in a folder of the test's own.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "wrenpack/dhcp_linux.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;

TEST(DhcpLease, IsFoundWhereEachClientKeepsItAndOnlyForItsAdapter) {
    std::string root = (fs::temp_directory_path() / "vnxtest-lease-XXXXXX").string();
    ASSERT_NE(mkdtemp(root.data()), nullptr);
    const std::string dhclient = "lease {\n  interface \"eth0\";\n  fixed-address 10.0.0.1;\n}\n";
    const std::string message = std::string(16, '\0') + "\x0A\0\0\x01"s + std::string(220, '\0');
    const struct {
        const char* path;
        std::string content;
        bool proves;
    } files[] = {
        {"/run/systemd/netif/leases/7", "# private\nADDRESS=10.0.0.1\nNETMASK=255.255.255.0\n", true},
        {"/var/lib/dhcp/dhclient.eth0.leases", dhclient, true},
        {"/var/lib/dhclient/dhclient-eth0.leases", dhclient, true},
        {"/var/lib/NetworkManager/internal-0815-eth0.lease", "ADDRESS=10.0.0.1\n", true},
        {"/var/lib/dhcpcd/eth0.lease", message, true},
        {"/var/lib/dhcpcd/eth0.lease", "short", false},
        {"/var/lib/dhcp/dhclient.eth0.leases", "fixed-address 10.0.0.12;\nfixed-address 110.0.0.1;\n", false},
        {"/var/lib/dhcp/dhclient.eth1.leases", dhclient, false},
        {"/run/systemd/netif/leases/8", "ADDRESS=10.0.0.1\n", false},
        {"/var/lib/NetworkManager/internal-0815-eth00.lease", "ADDRESS=10.0.0.1\n", false},
    };
    for (const auto& [path, content, proves] : files) {
        fs::create_directories(fs::path(root + path).parent_path());
        std::ofstream(root + path, std::ios::binary) << content;
        EXPECT_EQ(HasDhcpLease(root, "eth0", 7, Ipv4Address(10, 0, 0, 1)), proves) << path;
        EXPECT_FALSE(HasDhcpLease(root, "eth0", 7, Ipv4Address())) << path;
        fs::remove(root + path);
    }
    fs::remove_all(root);
}

} // namespace
} // namespace vnxtest
