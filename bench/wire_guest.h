// A guest that answers one echo request after the other on a veth pair, all on the calling thread: the whole
// road of a frame, with the library that captures from an adapter. Needs CAP_NET_RAW, and the adapter
// "adapter" with the address 10.77.0.1, whose other end is "far".
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/socket.h>

#include "core/interface_lifecycle.h"
#include "frame_bench.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

class WireGuest {
public:
    // False if something is missing.
    bool Open() {
        auto library = OpenVnetxLibrary(L"pcap");
        if (!library) {
            return false;
        }
        m_library = std::move(*library);
        m_output.Attach();
        RegisterDebugOutput(*m_library);
        m_info.asked = {true, L"10.77.0.100", L"02-77-00-00-00-64", L"10.77.0.1", L""};
        InterfaceAddresses& addresses = m_info.addresses;
        addresses.guestIp = kGuestIp;
        addresses.guestMac = kGuestMac;
        addresses.adapterIp = Ipv4Address{10, 77, 0, 1};
        addresses.adapterMac = kPeerMac;
        addresses.netMask = Ipv4Address{255, 255, 255, 0};
        addresses.inAdapterSubnet = true;
        addresses.adapterKnown = true;
        m_writer = std::make_unique<PacketWriter>(*m_library, [](Ipv4Address) { return Ipv4Address(); });
        m_pingTest = std::make_unique<PingTest>(*m_library, *m_writer, m_run, m_view);
        m_path = std::make_unique<ReceivePath>(*m_library, *m_writer, m_run, *m_pingTest);
        m_far = OpenSocket("far", 0);
        m_near = OpenSocket("adapter", ETH_P_IP);
        return m_far && m_near && CreateInterface(m_info, *m_library, m_run) >= 0;
    }
    ~WireGuest() {
        m_info.open.Close();
        UnregisterDebugOutput();
    }

    // Sends a request from the far end, and answers it. False if it cannot.
    bool AnswerOne(std::span<const std::uint8_t> request) {
        if (send(m_far.Get(), request.data(), request.size(), 0) != static_cast<ssize_t>(request.size())) {
            return false;
        }
        // The guest's socket hears all protocols and so gets a frame before this one does: nobody waits
        // below.
        std::uint64_t some = 0;
        if (recv(m_near.Get(), &some, sizeof some, 0) <= 0) {
            return false;
        }
        const std::int32_t length =
            m_library->Read(m_info.open.Handle(), m_frame.data() + ReceivedPacket::kHeadroom, kReadSize);
        if (length <= 0) {
            return false;
        }
        const auto size = ReceivedPacket::kHeadroom + static_cast<std::size_t>(length);
        m_path->HandleReceivedPacket(m_info, ReceivedPacket(std::span(m_frame).first(size)));
        return true;
    }
    void TakeLines() { m_taken += m_output.TakePending().size(); }
    std::uint64_t Answered() const { return m_info.counted.echoRequestsAnswered.load(); }

private:
    static constexpr std::uint32_t kReadSize = 65535;

    static Descriptor OpenSocket(const char* adapter, std::uint16_t protocol) {
        Descriptor made(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(protocol);
        address.sll_ifindex = static_cast<int>(if_nametoindex(adapter));
        const int on = 1;
        setsockopt(made.Get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
        return bind(made.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
                   ? std::move(made)
                   : Descriptor();
    }

    SilentView m_view;
    OutputChannel m_output{m_view};
    RunSettings m_run;
    std::unique_ptr<VnetxLibrary> m_library;
    std::unique_ptr<PacketWriter> m_writer;
    std::unique_ptr<PingTest> m_pingTest;
    std::unique_ptr<ReceivePath> m_path;
    INTERFACE_INFO m_info;
    Descriptor m_far, m_near;
    std::vector<std::uint8_t> m_frame = std::vector<std::uint8_t>(ReceivedPacket::kHeadroom + kReadSize);
    std::size_t m_taken = 0; // bytes of lines
};

} // namespace vnxtest
