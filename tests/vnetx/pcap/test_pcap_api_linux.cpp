// The capture library's binary interface as it is declared here is the system's: this compiles. How the
// `pcap` library uses it on a real wire: tests/e2e.
#include <pcap.h>

#include "vnetx/pcap/pcap_api.h"

namespace vnxtest {

static_assert(sizeof(PcapPacketHeader) == sizeof(pcap_pkthdr));
static_assert(offsetof(PcapPacketHeader, captured) == offsetof(pcap_pkthdr, caplen));
static_assert(offsetof(PcapPacketHeader, length) == offsetof(pcap_pkthdr, len));
static_assert(offsetof(PcapStatistics, dropped) == offsetof(pcap_stat, ps_drop) &&
              sizeof(PcapStatistics) >= sizeof(pcap_stat));
static_assert(sizeof(PcapProgram) == sizeof(bpf_program));
static_assert(offsetof(PcapProgram, instructions) == offsetof(bpf_program, bf_insns));
static_assert(kPcapLinkTypeEthernet == DLT_EN10MB && kPcapDirectionIn == PCAP_D_IN);
static_assert(kPcapErrorNoSuchDevice == PCAP_ERROR_NO_SUCH_DEVICE &&
              kPcapErrorPermissionDenied == PCAP_ERROR_PERM_DENIED &&
              kPcapErrorInterfaceNotUp == PCAP_ERROR_IFACE_NOT_UP &&
              kPcapErrorPromiscuousDenied == PCAP_ERROR_PROMISC_PERM_DENIED);
static_assert(kPcapErrorBufferSize == PCAP_ERRBUF_SIZE && kPcapNetMaskUnknown == PCAP_NETMASK_UNKNOWN);

} // namespace vnxtest
