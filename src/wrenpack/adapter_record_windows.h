// The record of the package's host adapter library, and its decoding. Windows only.
//
// ADAPTER_INFO_LIST_ENTRY is binary interface; its sizes and offsets are asserted. It is used in this room
// only: others get HostAdapter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "wrenpack/wrenpack.h"

namespace vnxtest {

// One host adapter. Integers little-endian, IPv4 addresses in network order, texts NUL-terminated
// UTF-16. The entries of one list lie in one array and are linked through `next`.
struct ADAPTER_INFO_LIST_ENTRY {
    std::uint32_t leadingWord = 0; // non-zero in every filled entry
    ADAPTER_INFO_LIST_ENTRY* next = nullptr;
    wchar_t AdapterName[256] = {}; // four characters of driver prefix, then the adapter's identifier
    wchar_t Description[128] = {};
    std::uint8_t PhysAddr[6] = {};
    std::uint32_t LinkType = 0;  // NDIS medium
    std::uint32_t LinkSpeed = 0; // units of 100 bit/s; 0: not known
    std::uint32_t IPAddr = 0;
    std::uint32_t IPAddrMask = 0;
    std::uint32_t GatewayIPAddr = 0;
    std::uint32_t unused812 = 0;
    std::uint32_t dwIndex = 0;
    std::uint32_t MediaConnected = 0;
    std::uint32_t ChecksumOffloadPresent = 0;
    std::uint32_t V4Transmit = 0; // ChecksumBit flags
    std::uint32_t V4Receive = 0;
    std::uint32_t V6Transmit = 0;
    std::uint32_t V6Receive = 0;
    wchar_t Connection[256] = {}; // the connection's friendly name
    std::uint32_t MaxPacketLen = 0;
    std::uint32_t PromiscuousMode = 0;
    std::uint32_t DHCP = 0;
    std::uint32_t ChecksumOffloadOverridden = 0;
    std::uint8_t unused1372[4] = {};
};

static_assert(sizeof(ADAPTER_INFO_LIST_ENTRY) == 1376);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, leadingWord) == 0);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, next) == 8);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, AdapterName) == 16);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, Description) == 528);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, PhysAddr) == 784);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, LinkType) == 792);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, LinkSpeed) == 796);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, IPAddr) == 800);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, IPAddrMask) == 804);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, GatewayIPAddr) == 808);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, unused812) == 812);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, dwIndex) == 816);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, MediaConnected) == 820);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, ChecksumOffloadPresent) == 824);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, V4Transmit) == 828);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, V4Receive) == 832);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, V6Transmit) == 836);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, V6Receive) == 840);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, Connection) == 844);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, MaxPacketLen) == 1356);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, PromiscuousMode) == 1360);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, DHCP) == 1364);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, ChecksumOffloadOverridden) == 1368);
static_assert(offsetof(ADAPTER_INFO_LIST_ENTRY, unused1372) == 1372);

// WrenPackGetAdaptersList: fills `list` with one entry per adapter and returns true. When `*size` (bytes) is
// too small, or `list` is null, puts the needed size there and returns false with the last error set.
using GetAdaptersListFunction = std::function<bool(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size)>;

// Queries the size, then the list, and decodes its entries in the order of their links; a link that leads
// outside the array, or to an entry that is not filled, ends the list. Fails if the library returns true
// for the size, or claims more adapters than any host has.
Result<std::vector<HostAdapter>> FetchAdapters(const GetAdaptersListFunction& getAdaptersList);

} // namespace vnxtest
