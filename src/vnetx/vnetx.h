/*
 * The contract of the Vnetx virtual interface library: its operations, request codes and records.
 *
 * This header is C, so that a library in any language can honour it and a program can bind to it
 * by name. Handles are signed 32-bit integers; a negative handle means "none". Narrow texts are
 * NUL-terminated and in the process code page. Sizes and offsets are part of the binary interface
 * and are asserted below.
 */
#ifndef VNXTEST_VNETX_H
#define VNXTEST_VNETX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Open flags. */
enum {
    VNETX_OPEN_READ_WRITE = 0x2,
    VNETX_OPEN_SOCKET_NOTIFY = 0x8000000 /* the handle is a socket that select() can wait on */
};

/* Request codes of vnetx32_ioctl. The TUN/TAP family carries the input flag, size 4 and group 'T'. */
#define VNETX_TUNSETDEBUG 0x800454C9u
#define VNETX_TUNSETIFF 0x800454CAu
#define VNETX_TUNSETIFF_OLD 0x000054CAu /* the same request in the code of older libraries */
#define VNETX_VNXSDEVBUFF 0x800454DCu
#define VNETX_VNXSIOBUFF 0x800454DDu
#define VNETX_VNXSTIMEOUT 0x800454DEu
#define VNETX_SIOCSIFFLAGS 0x8914u
#define VNETX_SIOCSIFADDR 0x8916u
#define VNETX_SIOCGIFADDR 0x8917u
#define VNETX_SIOCSIFDSTADDR 0x8918u
#define VNETX_SIOCSIFBRDADDR 0x891Au
#define VNETX_SIOCSIFNETMASK 0x891Cu
#define VNETX_SIOCSIFMTU 0x8922u
#define VNETX_SIOCSIFHWADDR 0x8924u
#define VNETX_SIOCGIFHWADDR 0x8927u
#define VNETX_SIOCGARP 0x8954u
#define VNETX_SIOCGRARP 0x8961u

/* Flag words of TUNSETIFF and SIOCSIFFLAGS. */
enum {
    VNETX_IFF_TUN = 0x0001,
    VNETX_IFF_TAP = 0x0002,
    VNETX_IFF_NO_PI = 0x1000,
    VNETX_IFF_UP = 0x0001,
    VNETX_IFF_DEBUG = 0x0004
};

/* Debug flags of TUNSETDEBUG. */
#define VNETX_DEBUG_OLD_NEW_VALUES 0x80000000u
#define VNETX_DEBUG_PACKET_CONTENTS 0x40000000u
#define VNETX_DEBUG_ARP_READ 0x00008000u
#define VNETX_DEBUG_ARP_WRITTEN 0x00000080u
#define VNETX_DEBUG_OTHER_READ 0x00004000u
#define VNETX_DEBUG_OTHER_WRITTEN 0x00000040u

enum { VNETX_AF_INET = 2, VNETX_ARPHRD_ETHER = 1, VNETX_ATF_PERMANENT = 4, VNETX_NAME_SIZE = 16 };

/* A socket address of IPv4: family 2, port 0, four address bytes in network order. */
typedef struct VnetxInetAddress {
    uint16_t family;
    uint16_t port;
    uint8_t address[4];
    uint8_t zero[8];
} VnetxInetAddress;

/* A hardware socket address: family 1 (Ethernet), then the MAC. */
typedef struct VnetxHardwareAddress {
    uint16_t family;
    uint8_t mac[6];
    uint8_t zero[8];
} VnetxHardwareAddress;

/* The interface request record. What the value area holds depends on the request. */
typedef struct VnetxInterfaceRequest {
    char name[VNETX_NAME_SIZE]; /* at most 15 characters and a NUL */
    union {
        uint8_t bytes[16]; /* first, so that an initialiser without a value zeroes all of it */
        uint16_t flags;    /* TUNSETIFF, SIOCSIFFLAGS */
        uint32_t value;    /* TUNSETDEBUG, VNXSDEVBUFF, VNXSIOBUFF (bytes), VNXSTIMEOUT (milliseconds) */
        uint32_t mtu;      /* SIOCSIFMTU */
        VnetxInetAddress inet;
        VnetxHardwareAddress hardware;
    } u;
} VnetxInterfaceRequest;

/*
 * The ARP request record of SIOCGARP and SIOCGRARP. The four protocol address bytes follow the
 * family directly, without a port between.
 */
typedef struct VnetxArpRequest {
    uint16_t protocolFamily;     /* 2 */
    uint8_t protocolAddress[14]; /* the IPv4 address in the first four bytes */
    uint16_t hardwareFamily;     /* 0 */
    uint8_t hardwareAddress[14]; /* the MAC in the first six bytes */
    uint32_t flags;              /* 4 */
} VnetxArpRequest;

/* The statistics record. The caller sets the length to its size before the call. Counters are signed. */
typedef struct VnetxStatistics {
    uint32_t length;
    uint32_t kernelBufferSize;     /* bytes */
    uint32_t ioBufferSize;         /* bytes */
    uint32_t maximumBytesReceived; /* in one read of the library */
    int64_t writeCalls;
    int64_t writeIos;
    int64_t readCalls;
    int64_t readIos;
    int64_t packetsRead;
    int64_t packetsWritten;
    int64_t bytesRead;
    int64_t bytesWritten;
    int64_t internalArps;
    int64_t ignored;
    int64_t fromOurself;
    int64_t toZeroMacRead;
    int64_t toZeroMacWritten;
    int64_t fromZeroMacRead;
    int64_t fromZeroMacWritten;
} VnetxStatistics;

/*
 * The function that receives the library's debug output: one text, which may hold several lines.
 * It may be called on any thread of the library, as long as that is loaded; further arguments are ignored.
 * It is never null, and throws nothing.
 */
typedef void (*VnetxDebugOutput)(const char* text, ...);

/* Opens the interface of the host adapter named by its dotted IPv4 address or its MAC address. */
typedef int32_t (*VnetxOpenFunction)(const char* name, int32_t flags);
typedef int32_t (*VnetxCloseFunction)(int32_t handle);
/* 0, or non-zero with errno (and the system's last error) set. */
typedef int32_t (*VnetxIoctlFunction)(int32_t handle, uint32_t request, void* record);
/* The length of one whole frame; 0 when none came in time; negative with errno set. */
typedef int32_t (*VnetxReadFunction)(int32_t handle, void* buffer, uint32_t size);
/* Writes one whole frame and returns its length; anything else is a failure. */
typedef int32_t (*VnetxWriteFunction)(int32_t handle, const void* frame, uint32_t length);
typedef int32_t (*VnetxGetStatsFunction)(int32_t handle, VnetxStatistics* record);
/* The Internet checksum (RFC 1071) as a number: htons() of it is what stands in a header. */
typedef uint16_t (*VnetxCalcInetChecksumFunction)(const void* bytes, uint32_t length);
typedef void (*VnetxBuildVantIfaceMacFunction)(uint8_t* mac, const uint8_t* ip);
typedef const char* (*VnetxGetDefaultIfaceFunction)(void);
typedef int32_t (*VnetxSetDebugOutputFunction)(VnetxDebugOutput callback);
typedef void (*VnetxVersionNumbersFunction)(int32_t* major, int32_t* minor, int32_t* release, int32_t* build);
typedef const char* (*VnetxTextFunction)(void);

#ifdef __cplusplus
} /* extern "C" */

static_assert(sizeof(VnetxInterfaceRequest) == 32);
static_assert(VnetxInterfaceRequest{}.u.bytes[15] == 0); /* the language zeroes the first member only */
static_assert(offsetof(VnetxInterfaceRequest, u) == 16);
static_assert(offsetof(VnetxInterfaceRequest, u.inet.address) == 20);
static_assert(offsetof(VnetxInterfaceRequest, u.hardware.mac) == 18);
static_assert(sizeof(VnetxArpRequest) == 36);
static_assert(offsetof(VnetxArpRequest, protocolAddress) == 2);
static_assert(offsetof(VnetxArpRequest, hardwareFamily) == 16);
static_assert(offsetof(VnetxArpRequest, hardwareAddress) == 18);
static_assert(offsetof(VnetxArpRequest, flags) == 32);
static_assert(sizeof(VnetxStatistics) == 136);
static_assert(offsetof(VnetxStatistics, kernelBufferSize) == 4);
static_assert(offsetof(VnetxStatistics, ioBufferSize) == 8);
static_assert(offsetof(VnetxStatistics, maximumBytesReceived) == 12);
static_assert(offsetof(VnetxStatistics, writeCalls) == 16);
static_assert(offsetof(VnetxStatistics, writeIos) == 24);
static_assert(offsetof(VnetxStatistics, readCalls) == 32);
static_assert(offsetof(VnetxStatistics, readIos) == 40);
static_assert(offsetof(VnetxStatistics, packetsRead) == 48);
static_assert(offsetof(VnetxStatistics, packetsWritten) == 56);
static_assert(offsetof(VnetxStatistics, bytesRead) == 64);
static_assert(offsetof(VnetxStatistics, bytesWritten) == 72);
static_assert(offsetof(VnetxStatistics, internalArps) == 80);
static_assert(offsetof(VnetxStatistics, ignored) == 88);
static_assert(offsetof(VnetxStatistics, fromOurself) == 96);
static_assert(offsetof(VnetxStatistics, toZeroMacRead) == 104);
static_assert(offsetof(VnetxStatistics, toZeroMacWritten) == 112);
static_assert(offsetof(VnetxStatistics, fromZeroMacRead) == 120);
static_assert(offsetof(VnetxStatistics, fromZeroMacWritten) == 128);
#endif

#endif
