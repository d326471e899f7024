// The functions of the packet capture library that are used, as one table.
//
// Windows binds Npcap's wpcap.dll at run time. The types are declared here so that no header of the
// capture library is needed to build; they are its binary interface, which has not changed since its
// first versions.
#pragma once

#include <cstdint>

#include "vnetx/driver/reader_gate.h"

namespace vnxtest {

struct PcapHandle; // an open capture

struct PcapPacketHeader {
    long seconds;
    long microseconds;
    std::uint32_t captured; // bytes that are kept
    std::uint32_t length;   // bytes on the wire
};

struct PcapProgram {
    unsigned int length;
    void* instructions;
};

struct PcapStatistics {
    unsigned int received;
    unsigned int dropped; // because the kernel's buffer was full
    unsigned int droppedByAdapter;
    unsigned int ofWindows[3]; // fields that only Windows has
};

using PcapPacketHandler = void (*)(unsigned char* user, const PcapPacketHeader* header,
                                   const unsigned char* bytes);

inline constexpr int kPcapErrorBufferSize = 256;
inline constexpr int kPcapLinkTypeEthernet = 1;
inline constexpr int kPcapDirectionIn = 1;
inline constexpr std::uint32_t kPcapNetMaskUnknown = 0xFFFFFFFF;
// Results of activation that have an errno of their own; others are the capture library's.
inline constexpr int kPcapErrorNoSuchDevice = -5;
inline constexpr int kPcapErrorPermissionDenied = -8;
inline constexpr int kPcapErrorInterfaceNotUp = -9;
inline constexpr int kPcapErrorPromiscuousDenied = -11;

struct PcapApi {
    PcapHandle* (*create)(const char* device, char* errorText);
    int (*setSnapshotLength)(PcapHandle*, int bytes);
    int (*setPromiscuous)(PcapHandle*, int on);
    int (*setTimeout)(PcapHandle*, int milliseconds);
    int (*setImmediateMode)(PcapHandle*, int on);
    int (*setBufferSize)(PcapHandle*, int bytes);
    int (*activate)(PcapHandle*);
    void (*close)(PcapHandle*);
    int (*dataLink)(PcapHandle*);
    int (*setDirection)(PcapHandle*, int direction); // null: older drivers cannot
    int (*compile)(PcapHandle*, PcapProgram*, const char* text, int optimize, std::uint32_t netMask);
    int (*setFilter)(PcapHandle*, PcapProgram*);
    void (*freeProgram)(PcapProgram*);
    int (*setNonBlocking)(PcapHandle*, int on, char* errorText);
    int (*dispatch)(PcapHandle*, int count, PcapPacketHandler, unsigned char* user);
    char* (*errorText)(PcapHandle*);

    int (*statistics)(PcapHandle*, PcapStatistics*); // null: not asked

    // The platform's own. Writes one frame: 0, or -1 with errno.
    int (*send)(PcapHandle*, const void* frame, std::uint32_t length);
    // The object that becomes ready when there are frames.
    WaitObject (*waitObject)(PcapHandle*);
};

// The table; null with errno set if the capture library cannot be loaded. Bound once; any thread.
const PcapApi* LoadPcapApi();

} // namespace vnxtest
