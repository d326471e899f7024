// The requests that the helper accepts, and the addresses that a guest must not take.
#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "open/guest_rules.h"

namespace vnxtest {
namespace {

constexpr std::array<std::uint8_t, 6> kGuestMac{0x02, 0, 0x5E, 0x80, 0, 0x6F};
constexpr std::array<std::uint8_t, 6> kAdapterMac{0x52, 0x54, 0, 1, 2, 3},
    kOtherAdapterMac{0x52, 0x54, 0, 1, 2, 4};

AdapterName Name(const char* text) {
    AdapterName name{};
    std::copy_n(text, std::min(std::strlen(text), name.size()), name.begin());
    return name;
}

OpenRequest SocketRequest() {
    OpenRequest request;
    request.kind = OpenKind::GuestSocket;
    request.adapter = Name("eth0");
    request.guestMac = kGuestMac;
    request.guestIp = {10, 0, 0, 100};
    return request;
}

OpenRequest DeviceRequest() {
    OpenRequest request = SocketRequest();
    request.kind = OpenKind::TapDevice;
    request.hostEnd = {10, 0, 0, 1};
    request.mtu = 1500;
    request.queueLength = 500;
    request.device = Name("vnxtun0");
    return request;
}

OpenRequest QuestionRequest() {
    OpenRequest request;
    request.kind = OpenKind::ArpSocket;
    request.adapter = Name("eth0");
    return request;
}

bool IsTaken(const OpenRequest& request) {
    return ParseOpenRequest(&request, sizeof request).has_value();
}

HostFacts Host() {
    HostFacts host;
    host.macs = {MacAddress(kAdapterMac), MacAddress(kOtherAdapterMac)};
    host.addresses = {{127, 0, 0, 1}, {10, 0, 0, 1}, {192, 168, 7, 1}};
    host.gateways = {{10, 0, 0, 254}, {192, 168, 7, 254}};
    host.adapter = {{{10, 0, 0, 1}, {255, 255, 255, 0}}};
    host.local = {{{10, 9, 0, 0}, {255, 255, 255, 0}}};
    return host;
}

TEST(OpenRequests, AreTakenToTheLastByte) {
    EXPECT_TRUE(IsTaken(SocketRequest()));
    EXPECT_TRUE(IsTaken(DeviceRequest()));
    EXPECT_TRUE(IsTaken(QuestionRequest()));
    std::array<std::uint8_t, sizeof(OpenRequest) + 1> bytes{};
    const OpenRequest good = SocketRequest();
    std::memcpy(bytes.data(), &good, sizeof good);
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        EXPECT_EQ(ParseOpenRequest(bytes.data(), size).has_value(), size == sizeof good) << size;
    }
}

TEST(OpenRequests, ThatAreNotWholeAreNot) {
    struct Case {
        const char* what;
        std::function<OpenRequest()> base;
        std::function<void(OpenRequest&)> change;
    };
    const std::vector<Case> cases = {
        {"magic", SocketRequest, [](OpenRequest& r) { r.magic ^= 1; }},
        {"an older version", SocketRequest, [](OpenRequest& r) { --r.version; }},
        {"a newer version", SocketRequest, [](OpenRequest& r) { ++r.version; }},
        {"no kind", SocketRequest, [](OpenRequest& r) { r.kind = OpenKind{0}; }},
        {"an unknown kind", SocketRequest, [](OpenRequest& r) { r.kind = OpenKind{6}; }},
        {"reserved", SocketRequest, [](OpenRequest& r) { r.reserved = 1; }},
        {"also reserved", SocketRequest, [](OpenRequest& r) { r.alsoReserved[1] = 1; }},
        {"no adapter", SocketRequest, [](OpenRequest& r) { r.adapter = {}; }},
        {"a name without an end", SocketRequest, [](OpenRequest& r) { r.adapter.fill('a'); }},
        {"something behind the name", SocketRequest, [](OpenRequest& r) { r.adapter[15] = 'a'; }},
        {"a socket with a device's name", SocketRequest, [](OpenRequest& r) { r.device = Name("vnxtun0"); }},
        {"a socket with an MTU", SocketRequest, [](OpenRequest& r) { r.mtu = 1500; }},
        {"a socket with a queue", SocketRequest, [](OpenRequest& r) { r.queueLength = 1; }},
        {"a socket with a host's end", SocketRequest, [](OpenRequest& r) { r.hostEnd[0] = 1; }},
        {"a question with a MAC", QuestionRequest, [](OpenRequest& r) { r.guestMac[0] = 2; }},
        {"a question with an IP", QuestionRequest, [](OpenRequest& r) { r.guestIp[0] = 2; }},
        {"a TUN with a MAC", DeviceRequest, [](OpenRequest& r) { r.kind = OpenKind::TunDevice; }},
        {"a foreign device", DeviceRequest, [](OpenRequest& r) { r.device = Name("eth0"); }},
        {"a device without a number", DeviceRequest, [](OpenRequest& r) { r.device = Name("vnxtun"); }},
        {"a device of the kernel's choice", DeviceRequest,
         [](OpenRequest& r) { r.device = Name("vnxtun%d"); }},
        {"a path", DeviceRequest, [](OpenRequest& r) { r.device = Name("vnxtun/../0"); }},
        {"a device's name without an end", DeviceRequest,
         [](OpenRequest& r) { r.device = Name("vnxtun0123456789"); }},
        {"a short MTU", DeviceRequest, [](OpenRequest& r) { r.mtu = 45; }},
        {"a long MTU", DeviceRequest, [](OpenRequest& r) { r.mtu = 65522; }},
        {"no queue", DeviceRequest, [](OpenRequest& r) { r.queueLength = 0; }},
        {"an endless queue", DeviceRequest, [](OpenRequest& r) { r.queueLength = 0xFFFFFFFF; }},
    };
    for (const Case& one : cases) {
        OpenRequest request = one.base();
        one.change(request);
        EXPECT_FALSE(IsTaken(request)) << one.what;
    }
}

TEST(OpenRequests, TheGuestIsNotTheHost) {
    const auto judge = [](std::array<std::uint8_t, 6> mac, std::array<std::uint8_t, 4> ip) {
        OpenRequest request = SocketRequest();
        request.guestMac = mac;
        request.guestIp = ip;
        return JudgeRequest(request, Host());
    };
    EXPECT_EQ(judge(kGuestMac, {10, 0, 0, 100}), Refusal::None);
    EXPECT_EQ(judge(kGuestMac, {203, 0, 113, 9}), Refusal::None)
        << "a foreign subnet's, without a route to it";
    EXPECT_EQ(judge({}, {10, 0, 0, 100}), Refusal::MacUnusable);
    EXPECT_EQ(judge({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, {10, 0, 0, 100}), Refusal::MacUnusable);
    EXPECT_EQ(judge({0x01, 0, 0x5E, 0, 0, 1}, {10, 0, 0, 100}), Refusal::MacUnusable);
    EXPECT_EQ(judge(kAdapterMac, {10, 0, 0, 100}), Refusal::MacOfHost);
    EXPECT_EQ(judge(kOtherAdapterMac, {10, 0, 0, 100}), Refusal::MacOfHost) << "of any adapter";
    EXPECT_EQ(judge(kGuestMac, {10, 0, 0, 0}), Refusal::IpUnusable) << "the subnet's own number";
    EXPECT_EQ(judge(kGuestMac, {10, 0, 0, 255}), Refusal::IpUnusable) << "everybody's";
    EXPECT_EQ(judge(kGuestMac, {10, 0, 1, 255}), Refusal::None) << "of another subnet";
    EXPECT_EQ(judge(kGuestMac, {10, 0, 0, 1}), Refusal::IpOfHost);
    EXPECT_EQ(judge(kGuestMac, {192, 168, 7, 1}), Refusal::IpOfHost) << "of any adapter";
    EXPECT_EQ(judge(kGuestMac, {192, 168, 7, 254}), Refusal::IpOfGateway) << "of any route";
    EXPECT_EQ(judge(kGuestMac, {10, 9, 0, 255}), Refusal::IpOfHost) << "of a local route";
    EXPECT_EQ(judge(kGuestMac, {10, 9, 1, 0}), Refusal::None) << "beyond it";
    for (const std::array<std::uint8_t, 4> ip :
         {std::array<std::uint8_t, 4>{0, 0, 0, 0}, {127, 0, 0, 9}, {224, 0, 0, 1}, {255, 255, 255, 255}}) {
        EXPECT_EQ(judge(kGuestMac, ip), Refusal::IpUnusable);
    }
    EXPECT_EQ(JudgeRequest(QuestionRequest(), Host()), Refusal::None);
}

TEST(OpenRequests, ARouteIsWithinTheAdaptersSubnet) {
    const auto judge = [](OpenKind kind, std::array<std::uint8_t, 4> ip,
                          std::array<std::uint8_t, 4> hostEnd) {
        OpenRequest request = DeviceRequest();
        request.kind = kind;
        request.guestMac = kind == OpenKind::TapDevice ? kGuestMac : std::array<std::uint8_t, 6>{};
        request.guestIp = ip;
        request.hostEnd = hostEnd;
        EXPECT_TRUE(IsTaken(request));
        return JudgeRequest(request, Host());
    };
    for (const OpenKind kind : {OpenKind::TunDevice, OpenKind::TapDevice}) {
        EXPECT_EQ(judge(kind, {10, 0, 0, 100}, {10, 0, 0, 1}), Refusal::None);
        EXPECT_EQ(judge(kind, {8, 8, 8, 8}, {10, 0, 0, 1}), Refusal::IpOutsideSubnet);
        EXPECT_EQ(judge(kind, {127, 0, 0, 9}, {10, 0, 0, 1}), Refusal::IpUnusable);
        EXPECT_EQ(judge(kind, {10, 0, 0, 0}, {10, 0, 0, 1}), Refusal::IpUnusable);
        EXPECT_EQ(judge(kind, {10, 0, 0, 255}, {10, 0, 0, 1}), Refusal::IpUnusable);
        EXPECT_EQ(judge(kind, {10, 0, 0, 1}, {10, 0, 0, 1}), Refusal::IpOfHost);
        EXPECT_EQ(judge(kind, {10, 0, 0, 254}, {10, 0, 0, 1}), Refusal::IpOfGateway);
        EXPECT_EQ(judge(kind, {192, 168, 7, 9}, {192, 168, 7, 1}), Refusal::NotTheAdaptersAddress)
            << "another adapter's address";
    }
    EXPECT_EQ(JudgeIp({10, 0, 0, 0}, {{}, {}, {}, {{{10, 0, 0, 1}, {255, 255, 255, 254}}}, {}}),
              Refusal::None)
        << "a link of two has no addresses to spare (RFC 3021)";
}

} // namespace
} // namespace vnxtest
