// Floods one host with ICMP echo requests (RFC 792), or several in turn, a fixed number of them outstanding,
// and counts the replies. ping -f takes more time itself than the answering side; this takes one system call
// a batch, so that it measures the other side.
//
// echo_flood INTERFACE SOURCE-IP TARGET-IP TARGET-MAC COUNT OUTSTANDING [TARGET-IP TARGET-MAC]...
// Prints: sent received seconds. Needs CAP_NET_RAW.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "mac_text.h"

namespace {

constexpr std::size_t kBatch = 64;
constexpr std::size_t kData = 56;
constexpr std::size_t kFrame = sizeof(ether_header) + sizeof(iphdr) + sizeof(icmphdr) + kData;
constexpr std::uint16_t kIdentifier = 0x4242;

using Frame = std::array<unsigned char, kFrame>;

[[noreturn]] void Fail(const char* what) {
    std::perror(what);
    std::exit(2);
}

// The sum does not depend on the byte order in which it is formed (RFC 1071).
std::uint16_t Checksum(const void* bytes, std::size_t length) {
    std::uint32_t sum = 0;
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i + 1 < length; i += 2) {
        std::uint16_t word = 0;
        std::memcpy(&word, at + i, sizeof word);
        sum += word;
    }
    while (sum >> 16 != 0) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

Frame MakeFrame(const unsigned char* sourceMac, const unsigned char* targetMac, in_addr source,
                in_addr target) {
    Frame frame{};
    ether_header ethernet{};
    std::memcpy(ethernet.ether_dhost, targetMac, ETH_ALEN);
    std::memcpy(ethernet.ether_shost, sourceMac, ETH_ALEN);
    ethernet.ether_type = htons(ETHERTYPE_IP);
    iphdr ip{};
    ip.version = 4;
    ip.ihl = 5;
    ip.tot_len = htons(static_cast<std::uint16_t>(kFrame - sizeof ethernet));
    ip.ttl = 64;
    ip.protocol = IPPROTO_ICMP;
    ip.saddr = source.s_addr;
    ip.daddr = target.s_addr;
    ip.check = Checksum(&ip, sizeof ip);
    std::memcpy(frame.data(), &ethernet, sizeof ethernet);
    std::memcpy(frame.data() + sizeof ethernet, &ip, sizeof ip);
    return frame;
}

void SetSequence(Frame& frame, std::uint16_t sequence) {
    unsigned char* const message = frame.data() + sizeof(ether_header) + sizeof(iphdr);
    icmphdr icmp{};
    icmp.type = ICMP_ECHO;
    icmp.un.echo.id = htons(kIdentifier);
    icmp.un.echo.sequence = htons(sequence);
    std::memcpy(message, &icmp, sizeof icmp);
    icmp.checksum = Checksum(message, sizeof icmp + kData);
    std::memcpy(message, &icmp, sizeof icmp);
}

bool IsReply(const Frame& frame, std::size_t length) {
    icmphdr icmp{};
    if (length < kFrame || frame[12] != 0x08 || frame[13] != 0x00 ||
        frame[sizeof(ether_header) + offsetof(iphdr, protocol)] != IPPROTO_ICMP) {
        return false;
    }
    std::memcpy(&icmp, frame.data() + sizeof(ether_header) + sizeof(iphdr), sizeof icmp);
    return icmp.type == ICMP_ECHOREPLY && icmp.un.echo.id == htons(kIdentifier);
}

// The frames of one system call.
class Batch {
public:
    Batch() : m_frames(kBatch), m_vectors(kBatch), m_messages(kBatch) {
        for (std::size_t i = 0; i < kBatch; ++i) {
            m_vectors[i] = {m_frames[i].data(), kFrame};
            m_messages[i].msg_hdr.msg_iov = &m_vectors[i];
            m_messages[i].msg_hdr.msg_iovlen = 1;
        }
    }
    Frame& At(std::size_t index) { return m_frames[index]; }
    std::size_t Length(std::size_t index) const { return m_messages[index].msg_len; }
    mmsghdr* Messages() { return m_messages.data(); }

private:
    std::vector<Frame> m_frames;
    std::vector<iovec> m_vectors;
    std::vector<mmsghdr> m_messages;
};

int OpenSocket(const char* interface, unsigned char* mac) {
    const int raw = socket(AF_PACKET, SOCK_RAW, htons(ETH_P_IP));
    if (raw < 0) {
        Fail("socket");
    }
    ifreq request{};
    std::strncpy(request.ifr_name, interface, IFNAMSIZ - 1);
    if (ioctl(raw, SIOCGIFHWADDR, &request) != 0) {
        Fail(interface);
    }
    std::memcpy(mac, request.ifr_hwaddr.sa_data, ETH_ALEN);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_IP);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interface));
    if (bind(raw, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        Fail("bind");
    }
    const int size = 32 << 20;
    setsockopt(raw, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size);
    const int on = 1;
    setsockopt(raw, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    return raw;
}

struct Flooded {
    unsigned long sent = 0, received = 0;
    std::chrono::duration<double> taken{}; // to the last reply
};

// `count` requests, each of `requests` in turn, of which `outstanding` are on their way at a time.
Flooded Flood(int raw, const std::vector<Frame>& requests, unsigned long count, unsigned long outstanding) {
    Batch sending;
    Batch receiving;

    unsigned long sent = 0;
    unsigned long received = 0;
    const auto started = std::chrono::steady_clock::now();
    auto lastReply = started;
    while (received < count) {
        const unsigned long due =
            std::min<unsigned long>({outstanding - (sent - received), count - sent, kBatch});
        if (due > 0) {
            for (unsigned long i = 0; i < due; ++i) {
                sending.At(i) = requests[(sent + i) % requests.size()];
                SetSequence(sending.At(i), static_cast<std::uint16_t>(sent + i));
            }
            const int written = sendmmsg(raw, sending.Messages(), static_cast<unsigned>(due), 0);
            if (written < 0) {
                Fail("sendmmsg");
            }
            sent += static_cast<unsigned long>(written);
        }
        const int read = recvmmsg(raw, receiving.Messages(), kBatch, MSG_DONTWAIT, nullptr);
        for (int i = 0; i < read; ++i) {
            received += IsReply(receiving.At(static_cast<std::size_t>(i)),
                                receiving.Length(static_cast<std::size_t>(i)));
        }
        if (read > 0) {
            lastReply = std::chrono::steady_clock::now();
        } else if (sent - received >= outstanding || sent == count) {
            pollfd waiting{raw, POLLIN, 0};
            if (poll(&waiting, 1, 1000) == 0) {
                break; // replies that are still missing are lost
            }
        }
    }
    return {sent, received, lastReply - started};
}

} // namespace

int main(int argc, char** argv) {
    constexpr int kFirstTarget = 3;
    constexpr int kFurtherTargets = 7;
    if (argc < kFurtherTargets || (argc - kFurtherTargets) % 2 != 0) {
        std::fputs(
            "echo_flood INTERFACE SOURCE-IP TARGET-IP TARGET-MAC COUNT OUTSTANDING [TARGET-IP TARGET-MAC]...\n",
            stderr);
        return 2;
    }
    const unsigned long count = std::strtoul(argv[5], nullptr, 10);
    const unsigned long outstanding = std::strtoul(argv[6], nullptr, 10);
    in_addr source{};
    bool good = inet_aton(argv[2], &source) != 0 && count != 0 && outstanding != 0;
    unsigned char sourceMac[ETH_ALEN] = {};
    const int raw = OpenSocket(argv[1], sourceMac);
    std::vector<Frame> requests;
    for (int at = kFirstTarget; at < argc; at = at == kFirstTarget ? kFurtherTargets : at + 2) {
        in_addr target{};
        unsigned char mac[ETH_ALEN] = {};
        good = good && inet_aton(argv[at], &target) != 0 && ReadMac(argv[at + 1], mac);
        requests.push_back(MakeFrame(sourceMac, mac, source, target));
    }
    if (!good) {
        std::fputs("echo_flood: an address or a number cannot be read\n", stderr);
        return 2;
    }
    const Flooded flooded = Flood(raw, requests, count, outstanding);
    std::printf("%lu %lu %.6f\n", flooded.sent, flooded.received, flooded.taken.count());
    close(raw);
    return 0;
}
