// The kernel's tables against the kernel itself, in a network namespace of the test's own.
#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <gtest/gtest.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sched.h>
#include <unistd.h>

#include "netlink/addresses.h"
#include "netlink/links.h"
#include "netlink/neighbours.h"
#include "netlink/routes.h"

namespace vnxtest {
namespace {

constexpr Ipv4Address kOwn(10, 1, 2, 3), kPeer(10, 1, 2, 4), kLocalhost(127, 0, 0, 1);

// A fresh network with its loopback link alone. False where this user gets none.
bool EnterNetwork() {
    return unshare(geteuid() == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) == 0;
}

KernelRoute DefaultRoute(std::uint32_t metric, std::uint32_t link) {
    KernelRoute route;
    route.kind = KernelRouteKind::Unicast;
    route.metric = metric;
    route.nextHops = {{link, Ipv4Address(10, 0, 0, 254)}};
    return route;
}

// Each expectation of the child process is an exit status of its own.
#define EXPECT_IN_CHILD(condition)                                                                           \
    if (!(condition)) {                                                                                      \
        std::fprintf(stderr, "%s(%d): %s\n", __FILE__, __LINE__, #condition);                                \
        std::_Exit(1);                                                                                       \
    }

// 0 or the errno value.
template <typename T>
int CodeOf(const Result<T>& result) {
    return result ? 0 : result.error().errnoValue;
}

[[noreturn]] void ChangeAndLook() {
    if (!EnterNetwork()) {
        std::_Exit(77);
    }
    EXPECT_IN_CHILD(std::system("ip link add name d0 address 02:00:00:00:00:0d type veth peer d1 && "
                                "ip link set d1 up && ip link set d0 alias test") == 0);
    const auto links = ListLinks();
    EXPECT_IN_CHILD(links && links->size() >= 3);
    const std::uint32_t d0 = std::ranges::find(*links, "d0", &KernelLink::name)->index;
    auto link = FindLink(d0);
    EXPECT_IN_CHILD(link && (link->flags & IFF_UP) == 0 && link->kind == "veth");
    EXPECT_IN_CHILD(link->alias == "test" && link->mac == MacAddress({2, 0, 0, 0, 0, 0x0D}));
    auto addresses = ListAddresses();
    EXPECT_IN_CHILD(addresses && addresses->empty());
    auto routes = ListRoutes();
    EXPECT_IN_CHILD(routes && routes->empty() && BestDefaultRoute(*routes) == nullptr);
    EXPECT_IN_CHILD(CodeOf(FindRoute(kPeer, 0)) == ENETUNREACH);

    EXPECT_IN_CHILD(CodeOf(ChangeLink(d0, {1400, 7, true})) == 0);
    link = FindLink(d0);
    EXPECT_IN_CHILD(link && (link->flags & IFF_UP) != 0 && link->mtu == 1400);
    EXPECT_IN_CHILD(CodeOf(AddPeerAddress(d0, kOwn, kPeer)) == 0);
    EXPECT_IN_CHILD(CodeOf(AddPeerAddress(d0, kOwn, kPeer)) == EEXIST);
    addresses = ListAddresses();
    EXPECT_IN_CHILD(addresses);
    const auto own = std::ranges::find(*addresses, kOwn, &KernelAddress::address);
    EXPECT_IN_CHILD(own != addresses->end() && own->link == d0 && own->mask == Ipv4Address::Mask(32) &&
                    !own->expires);
    routes = ListRoutes();
    EXPECT_IN_CHILD(routes && routes->size() == 1);
    EXPECT_IN_CHILD((*routes)[0].destination == kPeer && (*routes)[0].mask == Ipv4Address::Mask(32));
    EXPECT_IN_CHILD((*routes)[0].kind == KernelRouteKind::Unicast && (*routes)[0].nextHops.size() == 1);
    const auto route = FindRoute(kPeer, 0);
    EXPECT_IN_CHILD(route && route->source == kOwn && route->nextHops[0].link == d0);

    EXPECT_IN_CHILD(std::system("ip route add default via 10.1.2.4 dev d0 metric 30 proto dhcp && "
                                "ip route add default dev d0 metric 20 && ip route add 10.9.0.0/16 dev d0 && "
                                "ip route add blackhole 10.8.0.0/16 && "
                                "sysctl -qw net.ipv4.conf.all.forwarding=1") == 0);
    routes = ListRoutes();
    EXPECT_IN_CHILD(routes && routes->size() == 5);
    EXPECT_IN_CHILD((*routes)[0].metric == 20 && (*routes)[1].metric == 30 && (*routes)[1].fromDhcp &&
                    !(*routes)[0].fromDhcp);
    EXPECT_IN_CHILD(BestDefaultRoute(*routes) == &(*routes)[0] && (*routes)[1].nextHops[0].gateway == kPeer);
    const auto refused = std::ranges::find(*routes, Ipv4Address(10, 8, 0, 0), &KernelRoute::destination);
    EXPECT_IN_CHILD(refused->kind == KernelRouteKind::Refused && refused->nextHops.empty());
    EXPECT_IN_CHILD(CodeOf(FindRoute({10, 8, 0, 1}, 0)) != 0);
    EXPECT_IN_CHILD(IsForwarding() == true);

    EXPECT_IN_CHILD(CodeOf(RemovePeerAddress(d0, kOwn, kPeer)) == 0);
    EXPECT_IN_CHILD(CodeOf(RemovePeerAddress(d0, kOwn, kPeer)) == EADDRNOTAVAIL);
    EXPECT_IN_CHILD(CodeOf(ChangeLink(d0, {0, 0, false})) == 0);
    link = FindLink(d0);
    EXPECT_IN_CHILD(link && (link->flags & IFF_UP) == 0 && link->mtu == 1400);
    std::_Exit(0);
}

TEST(Netlink, SeesWhatItAndOthersChange) {
    EXPECT_EXIT(
        ChangeAndLook(),
        [](int status) {
            return WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 77);
        },
        "");
}

TEST(Netlink, TellsTheLoopbackLinkOfThisHostAndNoneThatIsNotThere) {
    const auto links = ListLinks();
    ASSERT_TRUE(links);
    const auto loopback = std::ranges::find(*links, "lo", &KernelLink::name);
    ASSERT_NE(loopback, links->end());
    EXPECT_TRUE((loopback->flags & IFF_LOOPBACK) != 0 && loopback->hardwareType == ARPHRD_LOOPBACK);
    EXPECT_EQ(loopback->mac, MacAddress());
    EXPECT_TRUE(std::ranges::is_sorted(*links, {}, &KernelLink::index));
    const auto nowhere = FindLink(0x7FFFFFF0);
    EXPECT_EQ(CodeOf(nowhere), ENODEV);
    EXPECT_EQ(nowhere.error().call, L"RTM_GETLINK");
    EXPECT_NE(CodeOf(ChangeLink(0x7FFFFFF0, {0, 0, true})), 0);
    EXPECT_TRUE(IsForwarding().has_value());
    if (const auto route = FindRoute(kLocalhost, 0)) {
        EXPECT_EQ(route->kind, KernelRouteKind::Local);
    }
    const KernelNeighbour nobody = FindNeighbour({192, 0, 2, 1}, 1);
    EXPECT_FALSE(nobody.mac || nobody.failed);
}

TEST(Netlink, TheBestDefaultRouteIsTheFirstOfTheLowestMetric) {
    KernelRoute refused = DefaultRoute(0, 1);
    refused.kind = KernelRouteKind::Refused;
    KernelRoute longer = DefaultRoute(0, 2);
    longer.mask = Ipv4Address::Mask(1);
    KernelRoute nowhere = DefaultRoute(0, 3);
    nowhere.nextHops.clear();
    const std::vector<KernelRoute> routes = {
        refused, longer, nowhere, DefaultRoute(20, 4), DefaultRoute(10, 5), DefaultRoute(10, 6)};
    EXPECT_EQ(BestDefaultRoute(routes), &routes[4]);
}

} // namespace
} // namespace vnxtest
