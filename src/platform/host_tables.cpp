#include "platform/host_tables.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "wrenlib/errors.h"

namespace vnxtest {

namespace {

// A table grows between two calls by a few rows at most; a source that asks again and again does
// not mean it.
constexpr int kMaximumRounds = 64;
// More than any host's routing table; what asks for more is not believed.
constexpr std::uint32_t kMaximumTableSize = 512U * 1024 * 1024;

bool IsTooSmall(std::uint32_t code) {
    return code == kErrorInsufficientBuffer || code == kErrorBufferOverflow;
}

// The rows behind the count; never more than the buffer holds.
template <typename Row>
std::vector<Row> RowsOf(const std::vector<std::uint8_t>& buffer) {
    std::uint32_t count = 0;
    if (buffer.size() < sizeof count) {
        return {};
    }
    std::memcpy(&count, buffer.data(), sizeof count);
    const std::size_t room = (buffer.size() - sizeof count) / sizeof(Row);
    std::vector<Row> rows(std::min<std::size_t>(count, room));
    if (!rows.empty()) {
        std::memcpy(rows.data(), buffer.data() + sizeof count, rows.size() * sizeof(Row));
    }
    return rows;
}

} // namespace

std::uint32_t FetchGrowing(std::uint32_t element,
                           const std::function<std::uint32_t(void*, std::uint32_t*)>& fill,
                           std::vector<std::uint8_t>& buffer) {
    std::uint32_t size = element;
    std::uint32_t code = kErrorInsufficientBuffer;
    for (int round = 0; round < kMaximumRounds && size <= kMaximumTableSize && IsTooSmall(code); ++round) {
        const std::size_t elements = std::max<std::size_t>(1, (std::size_t{size} + element - 1) / element);
        buffer.clear();
        try {
            buffer.assign(elements * element, 0);
        } catch (const std::bad_alloc&) {
            return kErrorNotEnoughMemory;
        }
        size = static_cast<std::uint32_t>(buffer.size());
        code = fill(buffer.data(), &size);
    }
    if (code != 0) {
        buffer.clear();
    }
    return code;
}

std::uint32_t ReadNetworkParameters(HostTables& tables, std::optional<NetworkParameters>& parameters) {
    parameters.reset();
    std::vector<std::uint8_t> buffer;
    const std::uint32_t code = FetchGrowing(
        kNetworkParamsElement,
        [&](void* bytes, std::uint32_t* size) { return tables.GetNetworkParams(bytes, size); }, buffer);
    if (code == 0) {
        parameters = tables.DecodeNetworkParams(buffer);
    }
    return code;
}

std::uint32_t ReadRoutes(HostTables& tables, std::optional<std::vector<RouteRow>>& routes) {
    routes.reset();
    std::vector<std::uint8_t> buffer;
    const std::uint32_t code = FetchGrowing(
        kRouteTableElement,
        [&](void* bytes, std::uint32_t* size) { return tables.GetIpForwardTable(bytes, size); }, buffer);
    if (code == 0) {
        auto& rows = routes.emplace();
        for (const RawRouteRow& raw : RowsOf<RawRouteRow>(buffer)) {
            rows.push_back({Ipv4Address::FromMemory(raw.destination), Ipv4Address::FromMemory(raw.mask),
                            Ipv4Address::FromMemory(raw.nextHop), raw.interfaceIndex, raw.metrics[0],
                            raw.type == kRouteTypeInvalid});
        }
    }
    return code;
}

std::uint32_t ReadAddresses(HostTables& tables, std::optional<std::vector<AddressRow>>& addresses) {
    addresses.reset();
    std::vector<std::uint8_t> buffer;
    const std::uint32_t code = FetchGrowing(
        kAddressTableElement,
        [&](void* bytes, std::uint32_t* size) { return tables.GetIpAddrTable(bytes, size); }, buffer);
    if (code == 0) {
        auto& rows = addresses.emplace();
        for (const RawAddressRow& raw : RowsOf<RawAddressRow>(buffer)) {
            rows.push_back({Ipv4Address::FromMemory(raw.address), Ipv4Address::FromMemory(raw.mask),
                            raw.interfaceIndex});
        }
    }
    return code;
}

std::uint32_t FillFrom(const void* bytes, std::size_t length, void* buffer, std::uint32_t* size) {
    const std::uint32_t given = *size;
    *size = static_cast<std::uint32_t>(length);
    if (buffer == nullptr || given < length) {
        return kErrorInsufficientBuffer;
    }
    std::memcpy(buffer, bytes, length);
    return 0;
}

} // namespace vnxtest
