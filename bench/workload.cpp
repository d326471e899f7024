// One part of the program's work, `count` times, on one thread and without waiting: for counting
// instructions (bench/instructions.py). Between two counts everything is the same but the number of times, so
// that the difference is the part's alone.
//
// workload PART COUNT. The parts are in kParts, below.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/arp_responder.h"
#include "core/interface_lifecycle.h"
#include "frame_bench.h"
#include "host_of_size.h"
#include "hostnet/report_sections.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "ping/echo_request.h"
#include "ping/ping_sender.h"
#include "vnetx/frame_arrival.h"
#include "vnetx/sim/sim.h"
#include "wire_guest.h"
#include "wrenlib/log.h"

namespace vnxtest {
namespace {

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "workload: %s\n", what);
    std::exit(2);
}

// The document's text as far as it goes without a front end; its lines are taken away now and then.
class Document {
public:
    explicit Document(VnetxLibrary& library) : m_channel(m_view) {
        m_channel.Attach();
        RegisterDebugOutput(library);
    }
    ~Document() { UnregisterDebugOutput(); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    void Take() { m_bytes += m_channel.TakePending().size(); }
    std::size_t Bytes() {
        Take();
        return m_bytes;
    }

private:
    SilentView m_view;
    OutputChannel m_channel;
    std::size_t m_bytes = 0;
};

void AnswerEchoes(std::uint32_t count, bool tapMode) {
    constexpr std::size_t kData = 56;
    FrameBench bench(tapMode);
    const auto request = EchoRequest(tapMode, kData, kGuestIp);
    std::vector<std::uint8_t> storage = request;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::copy(request.begin(), request.end(), storage.begin()); // as a read does
        bench.Handle(storage);
    }
    if (bench.Written() != count) {
        Fail("an echo request was not answered");
    }
}

void EchoTap(std::uint32_t count) {
    AnswerEchoes(count, true);
}

void EchoTun(std::uint32_t count) {
    AnswerEchoes(count, false);
}

void EchoWire(std::uint32_t count) {
    WireGuest guest;
    if (!guest.Open()) {
        Fail("no guest on a veth pair: bench/wire_guest.h says what it needs");
    }
    const auto storage = EchoRequest(true, 56, kGuestIp);
    const auto request = std::span(storage).subspan(ReceivedPacket::kHeadroom);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!guest.AnswerOne(request)) {
            Fail("a request did not come through");
        }
        if (i % 4096 == 0) {
            guest.TakeLines();
        }
    }
    if (guest.Answered() != count) {
        Fail("an echo request was not answered");
    }
}

// A guest on the simulated LAN that sends a ping and reads its reply before it sends the next.
class SimGuest {
public:
    SimGuest()
        : m_document(m_library), m_writer(m_library, [](Ipv4Address) { return kSimNetMask; }),
          m_sender(m_library, m_writer, m_run, m_book, m_signals), m_frame(kReadSize) {
        m_info.asked = {true, L"198.18.0.100", L"02-00-5E-12-00-64", L"198.18.0.1", L""};
        m_info.addresses.guestIp = kSimFirstFreeIp;
        m_info.addresses.guestMac = MacAddress({0x02, 0, 0x5E, 0x12, 0, 0x64});
        m_info.addresses.adapterIp = kSimAdapterIp;
        m_info.addresses.adapterMac = kSimAdapterMac;
        m_info.addresses.netMask = kSimNetMask;
        m_info.addresses.inAdapterSubnet = true;
        m_info.addresses.adapterKnown = true;
        if (CreateInterface(m_info, m_library, m_run) < 0) {
            Fail("the simulated interface cannot be opened");
        }
    }
    ~SimGuest() { m_info.open.Close(); }
    SimGuest(const SimGuest&) = delete;
    SimGuest& operator=(const SimGuest&) = delete;

    void Ping(std::uint32_t count) {
        PingPlan plan;
        plan.target = kSimFirstEchoHost;
        plan.numPings = count;
        plan.timeout = 60'000; // a counter makes a program many times slower
        plan.delay = 0;
        m_sender.Begin(m_info, plan);
        std::uint32_t answered = 0;
        const bool sent = m_sender.SendAll([&] {
            if (answered == 0) {
                m_book.CheckDeadlines(); // the wait thread sleeps until the first deadline
            }
            ReadReply();
            if (++answered % 2048 == 0) {
                m_document.Take();
            }
        });
        if (!sent || m_book.Figures(false).statistics.received != count) {
            Fail("a ping was lost");
        }
    }

private:
    static constexpr std::uint32_t kReadSize = 65535;

    void ReadReply() {
        std::span<std::uint8_t> frame = Read();
        while (EthernetView::Over(frame)->EtherType() == kEtherTypeArp) {
            // The station asks for the guest before its first reply.
            if (HandleTapARPPacket(m_info.addresses, m_info.open.Name(), frame)) {
                m_writer.WriteArpReply(m_info, frame, L"workload");
            }
            frame = Read();
        }
        const auto packet = frame.subspan(EthernetView::kLength);
        const Ipv4View ip = *Ipv4View::Over(packet);
        const IcmpEchoView icmp = *IcmpEchoView::Over(packet.subspan(Ipv4View::kLength));
        const auto dataLength = static_cast<std::uint32_t>(packet.size() - kPingHeaders);
        m_book.RecordReply({icmp.RawIdentifier(), icmp.RawSequenceNumber(), ip.Source(), dataLength,
                            ip.TimeToLive(), frame_arrival::OfLastFrame()});
    }

    std::span<std::uint8_t> Read() {
        const std::int32_t length = m_library.Read(m_info.open.Handle(), m_frame.data(), kReadSize);
        if (length <= 0) {
            Fail("no reply was read");
        }
        return std::span(m_frame).first(static_cast<std::size_t>(length));
    }

    SimLibrary m_library{SimOptions{}};
    Document m_document;
    RunSettings m_run;
    PacketWriter m_writer;
    PingSignals m_signals;
    PingBook m_book{m_signals};
    PingSender m_sender;
    INTERFACE_INFO m_info;
    std::vector<std::uint8_t> m_frame;
};

void Ping(std::uint32_t count) {
    SimGuest().Ping(count);
}

void Line(std::uint32_t count) {
    NullLibrary library;
    Document document(library);
    const std::wstring target = L"192.168.100.200";
    for (std::uint32_t i = 0; i < count; ++i) {
        LogMsg(L" Sending ping #%hu bytes=%d to %s...\n", static_cast<std::uint16_t>(10'000 + i % 10'000), 32,
               target);
        if (i % 4096 == 0) {
            document.Take();
        }
    }
    if (document.Bytes() < std::size_t{count} * 50) {
        Fail("lines are missing");
    }
}

// The two sections of the report that grow with the host.
void WriteHost(HostNetwork& network) {
    WriteNetworkInformation(network);
    WriteDetectedAdapters(network);
}

void WriteReports(std::uint32_t count, std::uint32_t adapters, std::uint32_t routes) {
    HostOfSize host(adapters, routes);
    NullLibrary library;
    Document document(library);
    host.network.InitGlobals();
    for (std::uint32_t i = 0; i < count; ++i) {
        WriteHost(host.network);
        document.Take();
    }
    // Seventeen lines an adapter at least, and one a route.
    if (document.Bytes() < std::size_t{count} * (adapters * 400 + routes * 80)) {
        Fail("the report is too short");
    }
}

void Report(std::uint32_t count) {
    WriteReports(count, 4, 50);
}

void Adapter(std::uint32_t count) {
    WriteReports(1, count, 1000);
}

void Route(std::uint32_t count) {
    WriteReports(1, 1000, count);
}

struct Part {
    std::string_view name;
    void (*work)(std::uint32_t count);
};

constexpr std::array<Part, 8> kParts = {{{"echo-tap", EchoTap}, // an echo request answered
                                         {"echo-tun", EchoTun},
                                         {"echo-wire", EchoWire}, // through the library and a socket, too
                                         {"ping", Ping},          // to a station of the simulated LAN
                                         {"line", Line},          // through LogMsg to the document
                                         {"report", Report},      // of four adapters and fifty routes
                                         {"adapter", Adapter},    // gathered, and in one report
                                         {"route", Route}}};

} // namespace
} // namespace vnxtest

int main(int argc, char** argv) {
    const auto* const part =
        argc == 3 ? std::ranges::find(vnxtest::kParts, std::string_view(argv[1]), &vnxtest::Part::name)
                  : vnxtest::kParts.end();
    const unsigned long count = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
    if (part == vnxtest::kParts.end() || count == 0 || count > UINT32_MAX) {
        std::fputs("workload PART COUNT\n", stderr);
        return 2;
    }
    part->work(static_cast<std::uint32_t>(count));
    return 0;
}
