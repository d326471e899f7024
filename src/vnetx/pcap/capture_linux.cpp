#include <atomic>
#include <cerrno>
#include <cstring>

#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "open/ask_helper.h"
#include "open/packet_socket.h"
#include "vnetx/failure.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/pcap/packet_ring_linux.h"
#include "wrenlib/descriptor_linux.h"
#include "wrenlib/text.h"
#include "wrenlib/uncancelled_linux.h"

namespace vnxtest {
namespace {

OpenKind KindOf(CaptureOptions::Wanted wanted) {
    switch (wanted) {
    case CaptureOptions::Wanted::ArpReplies:
        return OpenKind::ArpSocket;
    case CaptureOptions::Wanted::ReverseArpReplies:
        return OpenKind::ReverseArpSocket;
    case CaptureOptions::Wanted::Guest:
        break;
    }
    return OpenKind::GuestSocket;
}

// The index of the adapter `device` if it is up and Ethernet or loopback, else 0 with errno.
std::uint32_t UsableAdapter(const std::string& device) {
    const Descriptor asking(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int socket = asking.Get();
    ifreq request{};
    if (device.size() >= sizeof request.ifr_name) {
        errno = ENODEV;
        return 0;
    }
    std::memcpy(request.ifr_name, device.data(), device.size());
    if (ioctl(socket, SIOCGIFFLAGS, &request) != 0) {
        return 0;
    }
    if ((request.ifr_flags & IFF_UP) == 0) {
        errno = ENETDOWN;
        return 0;
    }
    if (ioctl(socket, SIOCGIFHWADDR, &request) != 0) {
        return 0;
    }
    if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER && request.ifr_hwaddr.sa_family != ARPHRD_LOOPBACK) {
        errno = EAFNOSUPPORT;
        return 0;
    }
    return ioctl(socket, SIOCGIFINDEX, &request) == 0 ? static_cast<std::uint32_t>(request.ifr_ifindex) : 0;
}

// Opened by this process if it may, else by the helper; empty with errno.
Descriptor OpenSocket(const CaptureOptions& options, OpenKind kind, std::uint32_t adapter) {
    const char* call = "";
    Descriptor socket = OpenPacketSocket(kind, adapter, options.guest, false, call);
    if (socket || (errno != EPERM && errno != EACCES)) {
        return socket;
    }
    OpenRequest request;
    request.kind = kind;
    request.adapter = ToAdapterName(options.device);
    if (kind == OpenKind::GuestSocket) {
        request.guestMac = options.guest.Bytes();
        request.guestIp = options.guestIp.Bytes();
    }
    auto answer = AskHelper(request);
    if (answer) {
        return std::move(*answer);
    }
    if (const std::wstring& problem = answer.error().text; !problem.empty()) {
        options.tell(ToUtf8(problem));
    }
    errno = answer.error().errnoValue;
    return {};
}

class RingCapture final : public Capture {
public:
    RingCapture(Descriptor socket, std::unique_ptr<PacketRing> ring, std::uint32_t adapter, MacAddress guest)
        : m_socket(std::move(socket)), m_ring(std::move(ring)), m_adapter(adapter), m_guest(guest) {
        Dropped(); // frames dropped before there was a ring are not counted
        m_dropped.store(0);
    }

    int Dispatch(int count, FrameHandler handler, void* user) override {
        return m_ring->Dispatch(count, handler, user);
    }

    bool Restart(MacAddress guest) override {
        if (guest != m_guest &&
            !AttachFilter(m_socket.Get(), MakePacketFilter(OpenKind::GuestSocket, m_adapter, guest))) {
            Fail(errno);
            return false;
        }
        m_guest = guest;
        TakeSocketError();
        m_error.store(0);
        return true;
    }

    WaitObject GetWaitObject() const override { return m_socket.Get(); }

    // Kept: the kernel reports it once, but the reader and the health check both ask.
    int Error() override {
        if (const int code = TakeSocketError(); code != 0) {
            m_error.store(code);
        }
        return m_error.load();
    }

    // Added up: each query resets the kernel's count.
    std::optional<std::uint64_t> Dropped() override {
        tpacket_stats counts{};
        socklen_t size = sizeof counts;
        if (getsockopt(m_socket.Get(), SOL_PACKET, PACKET_STATISTICS, &counts, &size) != 0) {
            return std::nullopt;
        }
        return m_dropped.fetch_add(counts.tp_drops) + counts.tp_drops;
    }

private:
    int TakeSocketError() const {
        int code = 0;
        socklen_t size = sizeof code;
        return getsockopt(m_socket.Get(), SOL_SOCKET, SO_ERROR, &code, &size) == 0 ? code : 0;
    }

    int TrySend(const void* frame, std::uint32_t length) override {
        const ssize_t sent = uncancelled::Send(m_socket.Get(), frame, length, MSG_DONTWAIT);
        if (sent == static_cast<ssize_t>(length)) {
            return 0;
        }
        if (sent >= 0) {
            errno = EIO;
        }
        return -1;
    }

    const Descriptor m_socket;
    const std::unique_ptr<PacketRing> m_ring; // unmapped before the socket is closed
    const std::uint32_t m_adapter;
    MacAddress m_guest;
    std::atomic<int> m_error{0};
    std::atomic<std::uint64_t> m_dropped{0};
};

} // namespace

std::unique_ptr<Capture> Capture::Open(const CaptureOptions& options) {
    const std::uint32_t adapter = UsableAdapter(options.device);
    Descriptor socket = adapter != 0 ? OpenSocket(options, KindOf(options.wanted), adapter) : Descriptor();
    // Making the ring discards the frames that have come since the socket was bound.
    std::unique_ptr<PacketRing> ring =
        socket ? PacketRing::Make(socket.Get(), options.snapshotLength, options.bufferSize) : nullptr;
    if (!ring) {
        Fail(errno);
        return nullptr;
    }
    return std::make_unique<RingCapture>(std::move(socket), std::move(ring), adapter, options.guest);
}

} // namespace vnxtest
