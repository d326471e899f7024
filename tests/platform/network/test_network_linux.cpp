// What is asked of the system about its network, compared with a second opinion.
#include <algorithm>
#include <array>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/network/host_tables.h"
#include "platform/network/resolver_configuration.h"
#include "platform/network/socket_wait.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using Row = std::array<std::uint32_t, 3>; // address, mask, interface

std::vector<Row> AddressesByTheCLibrary() {
    std::vector<Row> rows;
    ifaddrs* list = nullptr;
    EXPECT_EQ(getifaddrs(&list), 0);
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
            const auto image = [](const sockaddr* address) {
                return reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
            };
            rows.push_back(
                {image(entry->ifa_addr), image(entry->ifa_netmask), if_nametoindex(entry->ifa_name)});
        }
    }
    freeifaddrs(list);
    std::ranges::sort(rows);
    return rows;
}

TEST(HostTables, TheAddressesAreThoseOfTheCLibrary) {
    const auto addresses = MakeHostTables()->ReadAddresses();
    ASSERT_TRUE(addresses);
    std::vector<Row> rows;
    for (const HostAddress& own : *addresses) {
        rows.push_back({own.address.Memory(), own.mask.Memory(), own.interfaceIndex});
    }
    std::ranges::sort(rows);
    EXPECT_EQ(rows, AddressesByTheCLibrary());
}

TEST(HostTables, TheHostHasItsNameAndItsRoutesAreInOrder) {
    const auto tables = MakeHostTables();
    const auto parameters = tables->ReadParameters();
    ASSERT_TRUE(parameters);
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name), 0);
    EXPECT_EQ(parameters->hostName, ToWide(name));
    EXPECT_TRUE(parameters->forwardsPackets.has_value());
    const auto routes = tables->ReadRoutes();
    ASSERT_TRUE(routes);
    EXPECT_TRUE(
        std::ranges::is_sorted(*routes, {}, [](const HostRoute& row) { return row.destination.Host(); }));
    for (const HostRoute& row : *routes) {
        EXPECT_EQ(row.destination & row.mask, row.destination) << ToUtf8(FormatIPAddr(row.destination));
    }
}

TEST(ResolverConfiguration, NameServersAreReadAsTheCLibraryReadsThem) {
    EXPECT_EQ(
        ParseNameServers("# one\nnameserver 192.0.2.1\r\n; two\nsearch example\nnameserver\tfe80::1%eth0 x\n"
                         "nameserver  2001:db8::2"),
        (std::vector<std::string>{"192.0.2.1", "fe80::1%eth0", "2001:db8::2"}));
    for (const char* refused : {"", "nameserver", "nameserver ", "nameserver\n192.0.2.1",
                                " nameserver 192.0.2.1", "nameservers 192.0.2.1", "nameserver 192.0.2",
                                "nameserver example.org", "Nameserver 192.0.2.1", "nameserver 192.0.2.1.5"}) {
        EXPECT_EQ(ParseNameServers(refused), std::vector<std::string>()) << refused;
    }
}

TEST(SocketWait, EndsWithBytesAndForGoodOnceWoken) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    std::thread writer([&] { EXPECT_EQ(write(ends[1], "x", 1), 1); });
    EXPECT_TRUE(WaitUntilReadable(ends[0]));
    writer.join();
    char byte = 0;
    ASSERT_EQ(read(ends[0], &byte, 1), 1);
    std::thread waker([&] { WakeSocketWaiter(ends[0]); });
    EXPECT_TRUE(WaitUntilReadable(ends[0]));
    EXPECT_TRUE(WaitUntilReadable(ends[0])) << "it must not sleep again";
    EXPECT_EQ(read(ends[0], &byte, 1), 0) << "there are no bytes";
    waker.join();
    close(ends[0]);
    close(ends[1]);
}

} // namespace
} // namespace vnxtest
