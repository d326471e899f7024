// The host adapter library: its record, and the library as one object.
//
// ADAPTER_INFO_LIST_ENTRY is binary interface; its sizes and offsets are asserted. Behind
// WrenPackLibrary stands WrenPack64UD.dll bound by name where it is installed, else this program's
// own adapter list: IP helper and Npcap on Windows; rtnetlink, ethtool and packet sockets on Linux.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vnxtest {

// The bits of the checksum offload flags.
enum ChecksumOffload : std::uint32_t { kChecksumTcp = 4, kChecksumUdp = 8, kChecksumIp = 16 };

// One host adapter. Integers little-endian, IPv4 addresses in network order, texts NUL-terminated
// UTF-16. The entries of one list lie in one array and are linked through `next`.
struct ADAPTER_INFO_LIST_ENTRY {
    std::uint32_t leadingWord = 0; // non-zero in every filled entry
    ADAPTER_INFO_LIST_ENTRY* next = nullptr;
    char16_t AdapterName[256] = {}; // four characters of driver prefix, then the adapter's identifier
    char16_t Description[128] = {};
    std::uint8_t PhysAddr[6] = {};
    std::uint32_t LinkType = 0;  // NDIS medium
    std::uint32_t LinkSpeed = 0; // units of 100 bit/s; 0 when it is not known
    std::uint32_t IPAddr = 0;
    std::uint32_t IPAddrMask = 0;
    std::uint32_t GatewayIPAddr = 0;
    std::uint32_t unused812 = 0;
    std::uint32_t dwIndex = 0;
    std::uint32_t MediaConnected = 0;
    std::uint32_t ChecksumOffloadPresent = 0;
    std::uint32_t V4Transmit = 0; // ChecksumOffload bits
    std::uint32_t V4Receive = 0;
    std::uint32_t V6Transmit = 0;
    std::uint32_t V6Receive = 0;
    char16_t Connection[256] = {}; // the connection's friendly name
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

// Names a module in the report. Empty texts are left out.
struct ModuleDescription {
    std::wstring name;         // file name, or what it is when it is no file of its own
    std::wstring path;         // of the file; empty when it is part of this program
    std::wstring version;      // "3.9.0.6222"
    std::wstring detail;       // stands in brackets behind the version: date of the build, or the like
    std::wstring specialBuild; // follows the bracket
    std::wstring copyright;
    // Where another module does the work of the one that was looked for: sentences that say so and why.
    std::wstring substitution;
    bool unusable = false; // that other one is there, and cannot be used
};

// The packet driver through which adapters are opened.
struct PacketDriverDescription {
    bool usable = false;
    std::wstring problem;       // when it is not usable: one sentence that says why
    std::wstring name;          // "wpcap.dll", "libpcap"
    std::wstring version;       // of the library
    std::wstring detail;        // what else the library says of itself
    std::wstring driverVersion; // of the driver in the system's kernel; empty when not known
};

// What is known of an adapter besides its entry. The defaults are what holds where the entry tells all.
struct AdapterFacts {
    bool dhcpKnown = true;        // else DHCP is 0 because the system does not tell
    bool promiscuousKnown = true; // else PromiscuousMode is 0 because it could not be found out
    std::wstring portOf; // the bridge or bond that takes what comes in on it; empty when there is none
};

// Names an adapter that OpenAdapter opened; null is none.
using AdapterHandle = void*;

// User-interface thread. A call that fails sets the system's last error.
class WrenPackLibrary {
public:
    virtual ~WrenPackLibrary() = default;

    // Fills `list` with one entry per adapter and returns true. When `*size` (bytes) is too small, or
    // `list` is null, puts the needed size there and returns false. Without any adapter the needed
    // size is 0.
    virtual bool GetAdaptersList(ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) = 0;

    // Opens the adapter for capturing; null on failure.
    virtual AdapterHandle OpenAdapter(const char16_t* adapterName) = 0;
    virtual void CloseAdapter(AdapterHandle handle) = 0;
    // Closes all of them, and sooner than one by one where closing means waiting for the system.
    virtual void CloseAdapters(const std::vector<AdapterHandle>& handles);

    // Of an entry of the list that was delivered last.
    virtual AdapterFacts FactsOf(const ADAPTER_INFO_LIST_ENTRY&) const { return {}; }

    virtual ModuleDescription DescribeModule() const = 0;
    virtual PacketDriverDescription DescribePacketDriver() const = 0;
};

// The host's adapter library. Never null; a library that is not usable says so by its descriptions.
std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary();

// The last-error codes of GetAdaptersList: the list did not fit, and there is no adapter at all.
extern const std::uint32_t kErrorListTooSmall;
extern const std::uint32_t kErrorNoAdapter;

// How asking a library for its whole list ended.
enum class AdapterListStage {
    Done,
    SizeQuery,  // the question for the size was not answered as it must be
    Allocation, // no memory for `count` entries
    Fill,       // the list itself was refused
};
struct AdapterListOutcome {
    AdapterListStage stage = AdapterListStage::Done;
    std::uint32_t code = 0;  // the last error, when it failed
    std::uint32_t size = 0;  // what the size query answered
    std::uint32_t count = 0; // entries that were asked for
};

// Asks for the size, then for the list. The entries come in the order in which they were linked,
// linked anew, and lie in one array; a link that leads outside the library's array ends the list. A
// library that returns true for the size, or claims more adapters than any host has, is not believed.
AdapterListOutcome FetchAdapters(WrenPackLibrary& library, std::vector<ADAPTER_INFO_LIST_ENTRY>& list);

// A library's half of it: links `entries` into `list`, or asks for a larger one, as GetAdaptersList must.
// Empties `entries` once they were delivered.
bool DeliverAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries, ADAPTER_INFO_LIST_ENTRY* list,
                     std::uint32_t* size);

// The text of a fixed UTF-16 field of `capacity` units (it may lack its NUL), and back, cut to fit.
std::wstring FieldText(const char16_t* field, std::size_t capacity);
void SetField(char16_t* field, std::size_t capacity, const std::wstring& text);
template <std::size_t N>
std::wstring FieldText(const char16_t (&field)[N]) {
    return FieldText(field, N);
}
template <std::size_t N>
void SetField(char16_t (&field)[N], const std::wstring& text) {
    SetField(field, N, text);
}

} // namespace vnxtest
