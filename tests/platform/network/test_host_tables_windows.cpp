#include <algorithm>
#include <cstring>
#include <deque>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/network/growing_buffer_windows.h"
#include "platform/network/host_tables_windows.h"

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
    const auto result = FetchGrowing(L"source", element, source);
    outcome.code = result ? 0 : result.error().lastError;
    outcome.left = result ? result->size() : 0;
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

// A table as the system lays it out: the row count, then the rows.
std::vector<std::uint8_t> Table(const std::vector<std::uint32_t>& words) {
    std::vector<std::uint8_t> bytes(words.size() * sizeof words[0]);
    std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

TEST(HostTables, DecodesRowsAsTheSystemLaysThemOut) {
    const Ipv4Address address(10, 1, 0, 0), mask(255, 255, 0, 0), gateway(10, 9, 9, 9);
    // Destination, mask, policy, next hop, index, type, protocol, age, system, five metrics.
    std::vector<std::uint32_t> words = {
        2, address.Memory(), mask.Memory(), 0, gateway.Memory(), 7, 4, 3, 0, 0, 25, 0, 0, 0, 0};
    words.resize(1 + 2 * 14);
    words[15 + 5] = 2; // the second row's type is invalid: refuses packets
    const std::vector<HostRoute> routes = DecodeRoutes(Table(words));
    ASSERT_EQ(routes.size(), 2U);
    const HostRoute& route = routes.front();
    EXPECT_EQ(std::tie(route.destination, route.mask, route.nextHop), std::tie(address, mask, gateway));
    EXPECT_EQ(std::pair(route.interfaceIndex, route.metric), std::pair(7U, 25U));
    EXPECT_FALSE(routes[1].IsDefault()) << "a default route that refuses packets leads nowhere";

    const std::vector<HostAddress> addresses =
        DecodeAddresses(Table({1, address.Memory(), 7, mask.Memory(), 1, 65535, 0}));
    ASSERT_EQ(addresses.size(), 1U);
    const HostAddress& row = addresses.front();
    EXPECT_TRUE(row.address == address && row.mask == mask && row.interfaceIndex == 7);
}

TEST(HostTables, BelievesNoCountBeyondTheBuffer) {
    EXPECT_EQ(DecodeRoutes(Table(std::vector<std::uint32_t>(1 + 3 * 14, 0xFFFFFFFF))).size(), 3U);
    EXPECT_TRUE(DecodeAddresses(Table({0xFFFFFFFF})).empty());
    EXPECT_TRUE(DecodeAddresses({}).empty());
}

} // namespace
} // namespace vnxtest
