// The program's own work on a frame, from the read buffer to the library's write: the checks, the answer in
// place, the line of text. The library is a null one.

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/debug_output.h"
#include "core/output_channel.h"
#include "null_library.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "ping/ping_test.h"
#include "ping/receive_path.h"

namespace vnxtest {

namespace {

constexpr Ipv4Address kGuestIp{10, 77, 0, 100};
constexpr Ipv4Address kPeerIp{10, 77, 0, 2};
constexpr MacAddress kGuestMac({0x02, 0x77, 0, 0, 0, 0x64});
constexpr MacAddress kPeerMac({0x02, 0x77, 0, 0, 0, 0x02});

class SilentView final : public ViewPort {
public:
    void PostViewMessage(ViewMessage) override {}
};

// The receive path with everything it needs, over a null library.
class Bench {
public:
    explicit Bench(bool tapMode)
        : m_output(m_view), m_writer(m_library, [](Ipv4Address) { return Ipv4Address(); }),
          m_pingTest(m_library, m_writer, m_run, m_view), m_path(m_library, m_writer, m_run, m_pingTest) {
        m_output.Attach();
        RegisterDebugOutput(m_library);
        m_info.open.Open(m_library, "10.77.0.1", VNETX_OPEN_READ_WRITE);
        m_info.open.SetName(L"bench0");
        m_info.open.Publish();
        m_info.asked.tapMode = tapMode;
        InterfaceAddresses& addresses = m_info.addresses;
        addresses.guestIp = kGuestIp;
        addresses.guestMac = kGuestMac;
        addresses.adapterIp = Ipv4Address{10, 77, 0, 1};
        addresses.adapterMac = kPeerMac;
        addresses.netMask = Ipv4Address{255, 255, 255, 0};
        addresses.adapterKnown = true;
    }
    ~Bench() { UnregisterDebugOutput(); }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    void Handle(std::span<std::uint8_t> storage) {
        m_path.HandleReceivedPacket(m_info, ReceivedPacket(storage));
        // The lines are taken away now and then, as the user-interface thread does.
        if (++m_handled % 4096 == 0) {
            benchmark::DoNotOptimize(m_output.TakePending());
        }
    }
    std::uint64_t Written() const { return m_library.Written(); }

private:
    SilentView m_view;
    NullLibrary m_library;
    OutputChannel m_output;
    RunSettings m_run;
    PacketWriter m_writer;
    PingTest m_pingTest;
    ReceivePath m_path;
    INTERFACE_INFO m_info;
    std::uint64_t m_handled = 0;
};

// Headroom, then the frame (TAP) or the packet (TUN) of an echo request to `destination`.
std::vector<std::uint8_t> EchoRequest(bool tapMode, std::size_t dataSize, Ipv4Address destination) {
    const std::size_t front = ReceivedPacket::kHeadroom + (tapMode ? EthernetView::kLength : 0);
    std::vector<std::uint8_t> storage(front + Ipv4View::kLength + IcmpEchoView::kLength + dataSize);
    const std::span<std::uint8_t> packet = std::span(storage).subspan(front);
    auto ip = Ipv4View::Over(packet);
    ip->Emit({.totalLength = static_cast<std::uint16_t>(packet.size()),
              .source = kPeerIp,
              .destination = destination});
    std::memset(packet.data() + 6, 0, 2); // without Don't-Fragment
    ip->Seal();
    const std::span<std::uint8_t> message = packet.subspan(Ipv4View::kLength);
    auto icmp = IcmpEchoView::Over(message);
    icmp->SetType(kIcmpEchoRequest);
    icmp->SetChecksum(InetChecksum(message));
    if (tapMode) {
        auto ethernet = EthernetView::Over(std::span(storage).subspan(ReceivedPacket::kHeadroom));
        ethernet->SetDestination(kGuestMac);
        ethernet->SetSource(kPeerMac);
        ethernet->SetEtherType(kEtherTypeIpv4);
    }
    return storage;
}

void HandleRequests(benchmark::State& state, bool tapMode, Ipv4Address destination, bool answered) {
    Bench bench(tapMode);
    const auto request = EchoRequest(tapMode, static_cast<std::size_t>(state.range(0)), destination);
    std::vector<std::uint8_t> storage = request;
    for (auto _ : state) {
        std::memcpy(storage.data(), request.data(), request.size()); // as a read does
        bench.Handle(storage);
    }
    state.SetItemsProcessed(state.iterations());
    const auto expected = answered ? static_cast<std::uint64_t>(state.iterations()) : 0;
    if (bench.Written() != expected) {
        state.SkipWithError("the wrong number of answers");
    }
}

} // namespace

static void AnswerEchoTap(benchmark::State& state) {
    HandleRequests(state, true, kGuestIp, true);
}
BENCHMARK(AnswerEchoTap)->Arg(8)->Arg(56)->Arg(1472);

static void AnswerEchoTun(benchmark::State& state) {
    HandleRequests(state, false, kGuestIp, true);
}
BENCHMARK(AnswerEchoTun)->Arg(8)->Arg(56)->Arg(1472);

static void IgnoreForeignEcho(benchmark::State& state) {
    HandleRequests(state, true, Ipv4Address{10, 77, 0, 101}, false);
}
BENCHMARK(IgnoreForeignEcho)->Arg(56);

} // namespace vnxtest
