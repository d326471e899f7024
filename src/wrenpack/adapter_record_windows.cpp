#include "wrenpack/adapter_record_windows.h"

#include <array>
#include <cwchar>
#include <new>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

constexpr std::size_t kMostAdapters = 65536;
constexpr std::uint64_t kSpeedUnit = 100; // bits per second

// A field may lack its terminator.
template <std::size_t N>
std::wstring FieldText(const wchar_t (&field)[N]) {
    return std::wstring(field, wcsnlen(field, N));
}

HostAdapter Decode(const ADAPTER_INFO_LIST_ENTRY& entry) {
    HostAdapter adapter;
    adapter.driverName = FieldText(entry.AdapterName);
    adapter.connection = FieldText(entry.Connection);
    adapter.description = FieldText(entry.Description);
    adapter.index = entry.dwIndex;
    adapter.mac = MacAddress(std::to_array(entry.PhysAddr));
    adapter.address = Ipv4Address::FromMemory(entry.IPAddr);
    adapter.mask = Ipv4Address::FromMemory(entry.IPAddrMask);
    adapter.gateway = Ipv4Address::FromMemory(entry.GatewayIPAddr);
    adapter.medium = entry.LinkType;
    if (entry.LinkSpeed != 0) {
        adapter.linkSpeed = entry.LinkSpeed * kSpeedUnit;
    }
    adapter.mediaConnected = entry.MediaConnected != 0;
    adapter.largestPacket = entry.MaxPacketLen;
    adapter.promiscuous = entry.PromiscuousMode != 0;
    adapter.dhcp = entry.DHCP != 0;
    if (entry.ChecksumOffloadPresent != 0) {
        adapter.checksumOffload =
            ChecksumOffload{entry.V4Transmit, entry.V4Receive, entry.V6Transmit, entry.V6Receive};
    }
    adapter.checksumOffloadOverridden = entry.ChecksumOffloadOverridden != 0;
    return adapter;
}

// The entries in the order of their links, which may lead only from entry to entry of `array`.
std::vector<HostAdapter> InLinkedOrder(const std::vector<ADAPTER_INFO_LIST_ENTRY>& array) {
    std::vector<HostAdapter> list;
    const ADAPTER_INFO_LIST_ENTRY* entry = array.data();
    while (list.size() < array.size() && entry->leadingWord != 0) {
        list.push_back(Decode(*entry));
        const auto offset =
            reinterpret_cast<std::uintptr_t>(entry->next) - reinterpret_cast<std::uintptr_t>(array.data());
        if (entry->next == nullptr || offset % sizeof *entry != 0 || offset / sizeof *entry >= array.size()) {
            break;
        }
        entry = entry->next;
    }
    return list;
}

} // namespace

Result<std::vector<HostAdapter>> FetchAdapters(const GetAdaptersListFunction& getAdaptersList) {
    constexpr std::size_t kEntry = sizeof(ADAPTER_INFO_LIST_ENTRY);
    std::uint32_t size = 0;
    if (getAdaptersList(nullptr, &size) || size == 0) {
        auto failed = FailedCall(kAdapterListSizeQuery);
        failed.value().text = size != 0 ? L"succeeded?!" : L"";
        return failed;
    }
    const std::size_t count = (size + kEntry - 1) / kEntry;
    std::vector<ADAPTER_INFO_LIST_ENTRY> array;
    try {
        if (count > kMostAdapters) {
            throw std::bad_alloc();
        }
        array.resize(count);
    } catch (const std::bad_alloc&) {
        return FailedCall(Sprintf(L"new ADAPTER_INFO_LIST_ENTRY [%d]", static_cast<std::uint32_t>(count)),
                          kErrorNotEnoughMemory);
    }
    size = static_cast<std::uint32_t>(count * kEntry);
    if (!getAdaptersList(array.data(), &size)) {
        return FailedCall(L"WrenPackGetAdaptersList(!NULL,!0)");
    }
    return InLinkedOrder(array);
}

} // namespace vnxtest
