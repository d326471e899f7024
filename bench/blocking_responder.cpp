// The smallest program that answers pings: one packet socket, one blocking read, one write, no checks and
// no text. vnxtest must be faster with one ping outstanding.
//
// blocking_responder INTERFACE IP MAC answers echo requests for IP that were sent to MAC. Runs until it is
// killed. Does not speak ARP: the peer's neighbour entry is set by hand. Needs CAP_NET_RAW.

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/socket.h>

#include "mac_text.h"

int main(int argc, char** argv) {
    in_addr ip{};
    std::array<unsigned char, ETH_ALEN> mac{};
    if (argc != 4 || inet_aton(argv[2], &ip) == 0 || !ReadMac(argv[3], mac.data())) {
        std::fputs("blocking_responder INTERFACE IP MAC\n", stderr);
        return 2;
    }
    const int raw = socket(AF_PACKET, SOCK_RAW, htons(ETH_P_IP));
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_IP);
    address.sll_ifindex = static_cast<int>(if_nametoindex(argv[1]));
    if (raw < 0 || bind(raw, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror("blocking_responder");
        return 2;
    }
    // This host's kernel must not answer, too: the frame goes to a MAC that no adapter has, and comes in
    // because the adapter is promiscuous.
    packet_mreq membership{};
    membership.mr_ifindex = address.sll_ifindex;
    membership.mr_type = PACKET_MR_PROMISC;
    setsockopt(raw, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof membership);
    std::puts("ready");
    std::fflush(stdout);

    std::array<unsigned char, 65549> frame{};
    constexpr std::size_t kIp = sizeof(ether_header);
    constexpr std::size_t kIcmp = kIp + 20;
    while (true) {
        const ssize_t length = recv(raw, frame.data(), frame.size(), 0);
        if (length < static_cast<ssize_t>(kIcmp + 8) ||
            std::memcmp(frame.data(), mac.data(), mac.size()) != 0 || frame[kIcmp] != 8 ||
            std::memcmp(frame.data() + kIp + 16, &ip, sizeof ip) != 0) {
            continue;
        }
        std::memcpy(frame.data(), frame.data() + ETH_ALEN, ETH_ALEN);
        std::memcpy(frame.data() + ETH_ALEN, mac.data(), mac.size());
        std::memcpy(frame.data() + kIp + 16, frame.data() + kIp + 12, sizeof ip);
        std::memcpy(frame.data() + kIp + 12, &ip, sizeof ip);
        frame[kIcmp] = 0;
        // Only the type has changed: the checksum grows by 0x0800 (RFC 1624).
        std::uint32_t sum = static_cast<std::uint32_t>(frame[kIcmp + 2] << 8 | frame[kIcmp + 3]) + 0x0800;
        sum = (sum & 0xFFFF) + (sum >> 16);
        frame[kIcmp + 2] = static_cast<unsigned char>(sum >> 8);
        frame[kIcmp + 3] = static_cast<unsigned char>(sum);
        if (send(raw, frame.data(), static_cast<std::size_t>(length), 0) != length) {
            std::perror("send");
            return 2;
        }
    }
}
