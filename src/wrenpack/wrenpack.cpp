#include "wrenpack/wrenpack.h"

#include <algorithm>
#include <new>

#include "wrenlib/errors.h"

namespace vnxtest {

namespace {
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;
constexpr bool IsHigh(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLow(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}
} // namespace

namespace {

constexpr std::size_t kMostAdapters = 65536;

// The entries in the order of their links, which may lead only from entry to entry of `array`.
std::vector<ADAPTER_INFO_LIST_ENTRY> InLinkedOrder(const std::vector<ADAPTER_INFO_LIST_ENTRY>& array) {
    std::vector<ADAPTER_INFO_LIST_ENTRY> list;
    list.reserve(array.size());
    const ADAPTER_INFO_LIST_ENTRY* entry = array.data();
    while (list.size() < array.size() && entry->leadingWord != 0) {
        list.push_back(*entry);
        const auto offset =
            reinterpret_cast<std::uintptr_t>(entry->next) - reinterpret_cast<std::uintptr_t>(array.data());
        if (entry->next == nullptr || offset % sizeof *entry != 0 || offset / sizeof *entry >= array.size()) {
            break;
        }
        entry = entry->next;
    }
    return list;
}

void Link(ADAPTER_INFO_LIST_ENTRY* list, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        list[i].next = i + 1 < count ? &list[i + 1] : nullptr;
    }
}

} // namespace

void WrenPackLibrary::CloseAdapters(const std::vector<AdapterHandle>& handles) {
    for (const AdapterHandle handle : handles) {
        CloseAdapter(handle);
    }
}

AdapterListOutcome FetchAdapters(WrenPackLibrary& library, std::vector<ADAPTER_INFO_LIST_ENTRY>& list) {
    constexpr std::size_t kEntry = sizeof(ADAPTER_INFO_LIST_ENTRY);
    list.clear();
    AdapterListOutcome outcome;
    if (library.GetAdaptersList(nullptr, &outcome.size) || outcome.size == 0) {
        outcome.stage = AdapterListStage::SizeQuery;
        outcome.code = LastError();
        return outcome;
    }
    const std::size_t count = (outcome.size + kEntry - 1) / kEntry;
    outcome.count = static_cast<std::uint32_t>(count);
    std::vector<ADAPTER_INFO_LIST_ENTRY> array;
    try {
        if (count > kMostAdapters) {
            throw std::bad_alloc();
        }
        array.resize(count);
    } catch (const std::bad_alloc&) {
        outcome.stage = AdapterListStage::Allocation;
        outcome.code = kErrorNotEnoughMemory;
        return outcome;
    }
    auto size = static_cast<std::uint32_t>(count * kEntry);
    if (!library.GetAdaptersList(array.data(), &size)) {
        outcome.stage = AdapterListStage::Fill;
        outcome.code = LastError();
        return outcome;
    }
    list = InLinkedOrder(array);
    Link(list.data(), list.size());
    return outcome;
}

bool DeliverAdapters(std::vector<ADAPTER_INFO_LIST_ENTRY>& entries, ADAPTER_INFO_LIST_ENTRY* list,
                     std::uint32_t* size) {
    const auto needed = static_cast<std::uint32_t>(entries.size() * sizeof(ADAPTER_INFO_LIST_ENTRY));
    const std::uint32_t given = *size;
    *size = needed;
    if (needed == 0 || list == nullptr || given < needed) {
        SetLastError(needed == 0 ? kErrorNoAdapter : kErrorListTooSmall);
        return false;
    }
    std::ranges::copy(entries, list);
    Link(list, entries.size());
    entries.clear();
    return true;
}

std::wstring FieldText(const char16_t* field, std::size_t capacity) {
    std::wstring text;
    for (std::size_t i = 0; i < capacity && field[i] != u'\0'; ++i) {
        char32_t code = field[i];
        if (!kWideIsUtf16 && IsHigh(code) && i + 1 < capacity && IsLow(field[i + 1])) {
            code = 0x10000 + ((code - 0xD800) << 10) + (field[++i] - 0xDC00U);
        } else if (!kWideIsUtf16 && (IsHigh(code) || IsLow(code))) {
            code = 0xFFFD;
        }
        text.push_back(static_cast<wchar_t>(code));
    }
    return text;
}

void SetField(char16_t* field, std::size_t capacity, const std::wstring& text) {
    std::fill_n(field, capacity, u'\0');
    std::size_t at = 0;
    for (const wchar_t c : text) {
        const auto code = static_cast<char32_t>(c);
        const bool pair = !kWideIsUtf16 && code >= 0x10000;
        const bool firstOfPair = kWideIsUtf16 && IsHigh(code); // its second half must fit too
        if (at + (pair || firstOfPair ? 2 : 1) >= capacity) {
            return;
        }
        if (pair) {
            field[at++] = static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            field[at++] = static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            field[at++] = static_cast<char16_t>(code);
        }
    }
}

} // namespace vnxtest
