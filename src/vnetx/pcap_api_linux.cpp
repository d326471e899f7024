#include <cerrno>

#include <linux/if_packet.h>
#include <sys/socket.h>

#include "vnetx/pcap_api.h"

extern "C" {
vnxtest::PcapHandle* pcap_create(const char*, char*);
int pcap_set_snaplen(vnxtest::PcapHandle*, int);
int pcap_set_promisc(vnxtest::PcapHandle*, int);
int pcap_set_timeout(vnxtest::PcapHandle*, int);
int pcap_set_immediate_mode(vnxtest::PcapHandle*, int);
int pcap_set_buffer_size(vnxtest::PcapHandle*, int);
int pcap_set_protocol_linux(vnxtest::PcapHandle*, int);
int pcap_activate(vnxtest::PcapHandle*);
void pcap_close(vnxtest::PcapHandle*);
int pcap_datalink(vnxtest::PcapHandle*);
int pcap_setdirection(vnxtest::PcapHandle*, int);
int pcap_compile(vnxtest::PcapHandle*, vnxtest::PcapProgram*, const char*, int, std::uint32_t);
int pcap_setfilter(vnxtest::PcapHandle*, vnxtest::PcapProgram*);
void pcap_freecode(vnxtest::PcapProgram*);
int pcap_setnonblock(vnxtest::PcapHandle*, int, char*);
int pcap_dispatch(vnxtest::PcapHandle*, int, vnxtest::PcapPacketHandler, unsigned char*);
char* pcap_geterr(vnxtest::PcapHandle*);
int pcap_inject(vnxtest::PcapHandle*, const void*, std::size_t);
int pcap_fileno(vnxtest::PcapHandle*);
int pcap_get_selectable_fd(vnxtest::PcapHandle*);
}

namespace vnxtest {
namespace {

void RestrictToType(PcapHandle* handle, std::uint16_t etherType) {
    pcap_set_protocol_linux(handle, etherType);
}

int Send(PcapHandle* handle, const void* frame, std::uint32_t length) {
    errno = 0;
    if (pcap_inject(handle, frame, length) == static_cast<int>(length)) {
        return 0;
    }
    if (errno == 0) {
        errno = EIO;
    }
    return -1;
}

// Frames that this host sends are not for the guest. Left to the filter they would still cost a
// copy each; the socket can refuse them earlier. Where the kernel is too old for that, the capture
// library leaves them out. The filter must not ask for the direction: the capture library runs it once
// itself, over the first frame after it was set, where it knows no direction and the frame would be lost.
int SetDirection(PcapHandle* handle, int direction) {
    const int on = direction == kPcapDirectionIn ? 1 : 0;
    setsockopt(pcap_fileno(handle), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    return pcap_setdirection(handle, direction);
}

WaitObject GetWaitObject(PcapHandle* handle) {
    return pcap_get_selectable_fd(handle);
}

constexpr PcapApi kApi = {
    .create = pcap_create,
    .setSnapshotLength = pcap_set_snaplen,
    .setPromiscuous = pcap_set_promisc,
    .setTimeout = pcap_set_timeout,
    .setImmediateMode = pcap_set_immediate_mode,
    .setBufferSize = pcap_set_buffer_size,
    .activate = pcap_activate,
    .close = pcap_close,
    .dataLink = pcap_datalink,
    .setDirection = SetDirection,
    .compile = pcap_compile,
    .setFilter = pcap_setfilter,
    .freeProgram = pcap_freecode,
    .setNonBlocking = pcap_setnonblock,
    .dispatch = pcap_dispatch,
    .errorText = pcap_geterr,
    .restrictToType = RestrictToType,
    .send = Send,
    .waitObject = GetWaitObject,
    .inboundFilter = "",
};

} // namespace

const PcapApi* LoadPcapApi() {
    return &kApi;
}

} // namespace vnxtest
