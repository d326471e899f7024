#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>

#include <gtest/gtest.h>

#include "platform/host_tables.h"

namespace vnxtest {
namespace {

// A source whose answers are prescribed, one a call: the code, and the size it asks for.
struct Answer {
    std::uint32_t code;
    std::uint32_t size;
};

struct ScriptedSource {
    std::deque<Answer> answers;
    std::vector<std::uint32_t> given; // the sizes it was called with

    std::uint32_t operator()(void* buffer, std::uint32_t* size) {
        given.push_back(*size);
        const auto* bytes = static_cast<const std::uint8_t*>(buffer);
        for (std::uint32_t i = 0; i < *size; ++i) {
            EXPECT_EQ(bytes[i], 0) << "the buffer must be zeroed, all of it";
        }
        std::memset(buffer, 0xA5, *size);
        const Answer answer = answers.front();
        if (answers.size() > 1) {
            answers.pop_front();
        }
        *size = answer.size;
        return answer.code;
    }
};

std::uint32_t Fetch(ScriptedSource& source, std::uint32_t element, std::vector<std::uint8_t>& buffer) {
    return FetchGrowing(element, std::ref(source), buffer);
}

TEST(FetchGrowing, GrowsByWholeElementsUntilTheTableFits) {
    ScriptedSource source{{{122, 61}, {111, 600}, {122, 601}, {0, 601}}, {}};
    std::vector<std::uint8_t> buffer;
    EXPECT_EQ(Fetch(source, 60, buffer), 0U);
    EXPECT_EQ(source.given, (std::vector<std::uint32_t>{60, 120, 600, 660}));
    EXPECT_EQ(buffer.size(), 660U);
}

TEST(FetchGrowing, AsksWithOneElementEvenWhenNoneIsWanted) {
    ScriptedSource source{{{122, 0}, {0, 0}}, {}};
    std::vector<std::uint8_t> buffer;
    EXPECT_EQ(Fetch(source, 28, buffer), 0U);
    EXPECT_EQ(source.given, (std::vector<std::uint32_t>{28, 28}));
}

TEST(FetchGrowing, LeavesNothingBehindAFailure) {
    ScriptedSource source{{{122, 5000}, {50, 5000}}, {}};
    std::vector<std::uint8_t> buffer;
    EXPECT_EQ(Fetch(source, 600, buffer), 50U);
    EXPECT_TRUE(buffer.empty());
}

TEST(FetchGrowing, GivesUpOnASourceThatIsNeverContent) {
    ScriptedSource always{{{111, 60}}, {}};
    std::vector<std::uint8_t> buffer;
    EXPECT_EQ(Fetch(always, 60, buffer), 111U);
    EXPECT_LT(always.given.size(), 1000U);

    ScriptedSource greedy{{{122, 0xFFFFFFFF}}, {}};
    EXPECT_EQ(Fetch(greedy, 60, buffer), 122U);
    EXPECT_EQ(greedy.given.size(), 1U) << "four gigabytes are not taken on a source's word";
    EXPECT_TRUE(buffer.empty());
}

// Tables in memory, delivered as a real source delivers them.
class MemoryTables : public HostTables {
public:
    std::uint32_t GetNetworkParams(void*, std::uint32_t*) override { return 50; }
    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        return FillFrom(routes.data(), routes.size(), buffer, size);
    }
    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        return FillFrom(addresses.data(), addresses.size(), buffer, size);
    }
    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>&) const override { return {}; }
    std::uint32_t SendARP(Ipv4Address, Ipv4Address, std::uint8_t*, std::uint32_t*) override { return 50; }

    std::vector<std::uint8_t> routes;
    std::vector<std::uint8_t> addresses;
};

template <typename Row>
std::vector<std::uint8_t> Table(std::uint32_t count, const std::vector<Row>& rows) {
    std::vector<std::uint8_t> bytes(4 + rows.size() * sizeof(Row));
    std::memcpy(bytes.data(), &count, 4);
    std::memcpy(bytes.data() + 4, rows.data(), rows.size() * sizeof(Row));
    return bytes;
}

TEST(HostTables, DecodesRowsAsTheSystemLaysThemOut) {
    MemoryTables tables;
    // 32-bit words: destination, mask, policy, next hop, index, type, protocol, age, system, metrics.
    std::vector<RawRouteRow> rows(2);
    const std::uint32_t words[14] = {Ipv4Address(10, 1, 0, 0).Memory(),
                                     Ipv4Address(255, 255, 0, 0).Memory(),
                                     0,
                                     Ipv4Address(10, 9, 9, 9).Memory(),
                                     7,
                                     4,
                                     3,
                                     0,
                                     0,
                                     25,
                                     0,
                                     0,
                                     0,
                                     0};
    std::memcpy(&rows[0], words, sizeof words);
    rows[1].type = 2; // invalid: refuses packets
    tables.routes = Table(2, rows);
    const std::uint32_t addressWords[6] = {
        Ipv4Address(10, 1, 2, 3).Memory(), 7, Ipv4Address(255, 0, 0, 0).Memory(), 1, 65535, 0};
    std::vector<RawAddressRow> addressRows(1);
    std::memcpy(&addressRows[0], addressWords, sizeof addressWords);
    tables.addresses = Table(1, addressRows);

    std::optional<std::vector<RouteRow>> routes;
    ASSERT_EQ(ReadRoutes(tables, routes), 0U);
    ASSERT_EQ(routes->size(), 2U);
    EXPECT_EQ((*routes)[0].destination, Ipv4Address(10, 1, 0, 0));
    EXPECT_EQ((*routes)[0].mask, Ipv4Address(255, 255, 0, 0));
    EXPECT_EQ((*routes)[0].nextHop, Ipv4Address(10, 9, 9, 9));
    EXPECT_EQ((*routes)[0].interfaceIndex, 7U);
    EXPECT_EQ((*routes)[0].metric, 25U);
    EXPECT_FALSE((*routes)[1].IsDefault()) << "a default route that refuses packets leads nowhere";

    std::optional<std::vector<AddressRow>> addresses;
    ASSERT_EQ(ReadAddresses(tables, addresses), 0U);
    ASSERT_EQ(addresses->size(), 1U);
    EXPECT_EQ((*addresses)[0].address, Ipv4Address(10, 1, 2, 3));
    EXPECT_EQ((*addresses)[0].mask, Ipv4Address(255, 0, 0, 0));
    EXPECT_EQ((*addresses)[0].interfaceIndex, 7U);
}

TEST(HostTables, BelievesNoCountBeyondTheBuffer) {
    MemoryTables tables;
    tables.routes = Table(0xFFFFFFFF, std::vector<RawRouteRow>(3));
    std::optional<std::vector<RouteRow>> routes;
    ASSERT_EQ(ReadRoutes(tables, routes), 0U);
    EXPECT_LE(routes->size(), 4U); // what fits in whole elements
}

TEST(HostTables, AFailedReadLeavesNoOldTable) {
    MemoryTables tables;
    std::optional<NetworkParameters> parameters = NetworkParameters();
    EXPECT_EQ(ReadNetworkParameters(tables, parameters), 50U);
    EXPECT_FALSE(parameters.has_value());
}

// The real tables of the machine the test runs on: what cannot be wrong anywhere.
TEST(HostTables, TheRealHostHasItsLoopbackAddress) {
    const std::unique_ptr<HostTables> tables = MakeHostTables();
    std::optional<std::vector<AddressRow>> addresses;
    std::optional<std::vector<RouteRow>> routes;
    std::optional<NetworkParameters> parameters;
    ASSERT_EQ(ReadAddresses(*tables, addresses), 0U);
    ASSERT_EQ(ReadRoutes(*tables, routes), 0U);
    ASSERT_EQ(ReadNetworkParameters(*tables, parameters), 0U);
    EXPECT_FALSE(parameters->hostName.empty());
    const auto loopback = std::ranges::find(*addresses, Ipv4Address(127, 0, 0, 1), &AddressRow::address);
    ASSERT_NE(loopback, addresses->end());
    EXPECT_EQ(loopback->mask, Ipv4Address(255, 0, 0, 0));
    // Taken a second time the tables are the same: the first delivery kept nothing back.
    std::optional<std::vector<RouteRow>> again;
    ASSERT_EQ(ReadRoutes(*tables, again), 0U);
    EXPECT_EQ(again->size(), routes->size());
}

} // namespace
} // namespace vnxtest
