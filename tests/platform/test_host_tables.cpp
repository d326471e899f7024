#include <algorithm>
#include <cstring>
#include <deque>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/host_tables.h"

namespace vnxtest {
namespace {

using Sizes = std::vector<std::uint32_t>;
using Answer = std::pair<std::uint32_t, std::uint32_t>; // a source's code, and the size it asks for

// What a call of FetchGrowing did on a source that gives these answers, the last one again and again.
struct Outcome {
    std::uint32_t code;
    Sizes given; // the sizes that the source was called with
    std::size_t left;
};
Outcome Fetch(std::uint32_t element, std::deque<Answer> answers) {
    Outcome outcome{};
    std::vector<std::uint8_t> result;
    const auto source = [&](void* buffer, std::uint32_t* size) {
        outcome.given.push_back(*size);
        auto* const bytes = static_cast<std::uint8_t*>(buffer);
        EXPECT_EQ(std::count(bytes, bytes + *size, 0), *size) << "the buffer must be zeroed, all of it";
        std::memset(buffer, 0xA5, *size);
        const auto [code, wanted] = answers.front();
        if (answers.size() > 1) {
            answers.pop_front();
        }
        *size = wanted;
        return code;
    };
    outcome.code = FetchGrowing(element, source, result);
    outcome.left = result.size();
    return outcome;
}

TEST(FetchGrowing, GrowsByWholeElementsUntilTheTableFitsOrTheSourceIsNeverContent) {
    Outcome outcome = Fetch(60, {{122, 61}, {111, 600}, {122, 601}, {0, 601}});
    EXPECT_EQ(outcome.code, 0U);
    EXPECT_EQ(outcome.given, (Sizes{60, 120, 600, 660}));
    EXPECT_EQ(outcome.left, 660U);

    outcome = Fetch(28, {{122, 0}, {0, 0}});
    EXPECT_EQ(outcome.given, (Sizes{28, 28})) << "one element even when none is wanted";

    outcome = Fetch(600, {{122, 5000}, {50, 5000}});
    EXPECT_EQ(std::pair(outcome.code, outcome.left), std::pair(50U, std::size_t{0})) << "nothing is left";

    EXPECT_EQ(Fetch(60, {{111, 60}}).code, 111U) << "a source that is never content is given up";

    outcome = Fetch(60, {{122, 0xFFFFFFFF}});
    EXPECT_EQ(outcome.code, 122U);
    EXPECT_EQ(outcome.given.size(), 1U) << "four gigabytes are not taken on a source's word";
}

// One table in memory, delivered as a real source delivers it, under both names.
class MemoryTables : public HostTables {
public:
    std::uint32_t GetNetworkParams(void*, std::uint32_t*) override { return 50; }
    std::uint32_t GetIpForwardTable(void* buffer, std::uint32_t* size) override {
        return FillFrom(words.data(), words.size() * sizeof words[0], buffer, size);
    }
    std::uint32_t GetIpAddrTable(void* buffer, std::uint32_t* size) override {
        return GetIpForwardTable(buffer, size);
    }
    NetworkParameters DecodeNetworkParams(const std::vector<std::uint8_t>&) const override { return {}; }
    std::uint32_t SendARP(Ipv4Address, Ipv4Address, std::uint8_t*, std::uint32_t*) override { return 50; }

    std::vector<std::uint32_t> words; // the row count, then the rows
};

TEST(HostTables, DecodesRowsAsTheSystemLaysThemOut) {
    MemoryTables tables;
    const Ipv4Address address(10, 1, 0, 0), mask(255, 255, 0, 0), gateway(10, 9, 9, 9);
    // Destination, mask, policy, next hop, index, type, protocol, age, system, five metrics.
    tables.words = {2, address.Memory(), mask.Memory(), 0, gateway.Memory(), 7, 4, 3, 0, 0, 25, 0, 0, 0, 0};
    tables.words.resize(1 + 2 * 14);
    tables.words[15 + 5] = 2; // the second row's type is invalid: refuses packets
    std::optional<std::vector<RouteRow>> routes;
    ASSERT_EQ(ReadRoutes(tables, routes), 0U);
    ASSERT_EQ(routes->size(), 2U);
    const RouteRow& route = routes->front();
    EXPECT_EQ(std::tie(route.destination, route.mask, route.nextHop), std::tie(address, mask, gateway));
    EXPECT_EQ(std::pair(route.interfaceIndex, route.metric), std::pair(7U, 25U));
    EXPECT_FALSE((*routes)[1].IsDefault()) << "a default route that refuses packets leads nowhere";

    tables.words = {1, address.Memory(), 7, mask.Memory(), 1, 65535, 0};
    std::optional<std::vector<AddressRow>> addresses;
    ASSERT_EQ(ReadAddresses(tables, addresses), 0U);
    ASSERT_EQ(addresses->size(), 1U);
    const AddressRow& row = addresses->front();
    EXPECT_TRUE(row.address == address && row.mask == mask && row.interfaceIndex == 7);
}

TEST(HostTables, BelievesNoCountBeyondTheBufferAndKeepsNoOldTable) {
    MemoryTables tables;
    tables.words.assign(1 + 3 * 14, 0xFFFFFFFF);
    std::optional<std::vector<RouteRow>> routes;
    ASSERT_EQ(ReadRoutes(tables, routes), 0U);
    EXPECT_LE(routes->size(), 4U); // what fits in whole elements
    std::optional<NetworkParameters> parameters = NetworkParameters();
    EXPECT_EQ(ReadNetworkParameters(tables, parameters), 50U);
    EXPECT_FALSE(parameters.has_value());
}

} // namespace
} // namespace vnxtest
