#include "widgets/access/text_range_windows.h"

#include <algorithm>
#include <span>

#include <wx/window.h>

#include "wrenlib/text.h"

namespace vnxtest::automation {

namespace {

// Asks whether a range is one of this source; known to nobody else.
const IID kOwnId = {0x7E1B4F0C, 0x52C9, 0x4A3B, {0x9D, 0x1E, 0x63, 0xF8, 0x2A, 0xC4, 0x11, 0xD7}};

// The text has one format, no pages, and paragraphs of one line.
TextUnit UnitOf(Unit unit) {
    switch (unit) {
    case Unit::Character:
        return TextUnit::Character;
    case Unit::Word:
        return TextUnit::Word;
    case Unit::Line:
    case Unit::Paragraph:
        return TextUnit::Line;
    default:
        return TextUnit::Document;
    }
}

TextRange::End EndOf(Endpoint end) {
    return end == Endpoint::Start ? TextRange::End::First : TextRange::End::Last;
}

HRESULT SetNumbers(std::span<const double> numbers, SAFEARRAY** array) {
    *array = SafeArrayCreateVector(VT_R8, 0, static_cast<ULONG>(numbers.size()));
    if (*array == nullptr) {
        return E_OUTOFMEMORY;
    }
    void* data = nullptr;
    const HRESULT result = SafeArrayAccessData(*array, &data);
    if (SUCCEEDED(result)) {
        std::ranges::copy(numbers, static_cast<double*>(data));
        SafeArrayUnaccessData(*array);
    }
    return result;
}

HRESULT SetText(const std::wstring& from, BSTR* text) {
    *text = SysAllocStringLen(from.data(), static_cast<UINT>(from.size()));
    return *text != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace

HRESULT TextRangeObject::QueryInterface(REFIID id, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    const bool known = id == __uuidof(IUnknown) || id == TextRangeInterface::kId || id == kOwnId;
    *object = known ? static_cast<TextRangeInterface*>(this) : nullptr;
    if (!known) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

TextRangeObject* TextRangeObject::Own(TextRangeInterface* other) {
    ComPtr<TextRangeInterface> found;
    if (other == nullptr ||
        FAILED(other->QueryInterface(kOwnId, reinterpret_cast<void**>(found.GetAddressOf())))) {
        return nullptr;
    }
    auto* const own = static_cast<TextRangeObject*>(found.Get());
    return own->m_provider == m_provider ? own : nullptr;
}

ComPtr<TextRangeInterface> TextRangeObject::MakeRange(ByteRange bytes) {
    return MakeObject<TextRangeObject>(m_provider, TextRange(bytes));
}

HRESULT TextRangeObject::Clone(TextRangeInterface** clone) {
    *clone = nullptr;
    return m_provider->Ask([&] {
        *clone = MakeRange(m_range.Within(m_provider->Utf8())).Detach();
        return S_OK;
    });
}

HRESULT TextRangeObject::Compare(TextRangeInterface* other, BOOL* same) {
    *same = FALSE;
    return m_provider->Ask([&] {
        TextRangeObject* const own = Own(other);
        const std::string_view text = m_provider->Utf8();
        *same = own != nullptr && own->m_range.Within(text) == m_range.Within(text) ? TRUE : FALSE;
        return S_OK;
    });
}

HRESULT TextRangeObject::CompareEndpoints(Endpoint end, TextRangeInterface* other, Endpoint otherEnd,
                                          int* order) {
    *order = 0;
    return m_provider->Ask([&] {
        TextRangeObject* const own = Own(other);
        if (own == nullptr) {
            return E_INVALIDARG;
        }
        const std::string_view text = m_provider->Utf8();
        m_range.Within(text);
        own->m_range.Within(text);
        const std::size_t here = m_range.Place(EndOf(end));
        const std::size_t there = own->m_range.Place(EndOf(otherEnd));
        *order = here < there ? -1 : static_cast<int>(here > there);
        return S_OK;
    });
}

HRESULT TextRangeObject::ExpandToEnclosingUnit(Unit unit) {
    return m_provider->Ask([&] {
        m_range.ExpandTo(m_provider->Utf8(), UnitOf(unit));
        return S_OK;
    });
}

// The whole text is read-only, and has no other attribute.
HRESULT TextRangeObject::FindAttribute(TEXTATTRIBUTEID attribute, VARIANT value, BOOL,
                                       TextRangeInterface** found) {
    *found = nullptr;
    const bool wanted = attribute == kIsReadOnly && value.vt == VT_BOOL && value.boolVal != VARIANT_FALSE;
    return wanted ? Clone(found) : S_OK;
}

HRESULT TextRangeObject::FindText(BSTR text, BOOL backward, BOOL ignoreCase, TextRangeInterface** found) {
    *found = nullptr;
    return m_provider->Ask([&] {
        const std::string wanted = ToUtf8(std::wstring_view(text, SysStringLen(text)));
        const auto place =
            m_range.Find(m_provider->Utf8(), wanted, backward != FALSE,
                         ignoreCase != FALSE ? TextRange::Case::Ignored : TextRange::Case::Matters);
        *found = place ? MakeRange(*place).Detach() : nullptr;
        return S_OK;
    });
}

HRESULT TextRangeObject::GetAttributeValue(TEXTATTRIBUTEID attribute, VARIANT* value) {
    VariantInit(value);
    return m_provider->Ask([&]() -> HRESULT {
        if (attribute == kIsReadOnly) {
            value->vt = VT_BOOL;
            value->boolVal = VARIANT_TRUE;
            return S_OK;
        }
        const HRESULT result = m_provider->System().NotSupportedValue(&value->punkVal);
        value->vt = SUCCEEDED(result) ? VT_UNKNOWN : VT_EMPTY;
        return result;
    });
}

std::vector<wxRect> TextRangeObject::Places() {
    const std::string_view text = m_provider->Utf8();
    const ByteRange visible = m_provider->VisibleLines();
    const auto [from, to] = m_range.Within(text);
    const wxRect client = m_provider->Window().GetClientRect();
    const wxPoint origin = m_provider->Window().ClientToScreen(wxPoint(0, 0));
    std::vector<wxRect> places;
    for (std::size_t at = std::max(from, visible.first); at < std::min(to, visible.second);) {
        const std::size_t next = UnitAround(text, at, TextUnit::Line).second;
        // Up to the line end, which is as wide as nothing, or to the range's.
        const std::size_t end = std::min(next - (text[next - 1] == '\n' ? 1 : 0), to);
        wxRect place = m_provider->Text().PlaceOfByte(at);
        place.width = m_provider->Text().PlaceOfByte(end).x - place.x;
        place.Intersect(client);
        if (!place.IsEmpty()) {
            place.Offset(origin);
            places.push_back(place);
        }
        at = next;
    }
    return places;
}

HRESULT TextRangeObject::GetBoundingRectangles(SAFEARRAY** rectangles) {
    *rectangles = nullptr;
    return m_provider->Ask([&] {
        std::vector<double> numbers;
        for (const wxRect& place : Places()) {
            for (const int number : {place.x, place.y, place.width, place.height}) {
                numbers.push_back(number);
            }
        }
        return SetNumbers(numbers, rectangles);
    });
}

HRESULT TextRangeObject::GetEnclosingElement(IRawElementProviderSimple** element) {
    *element = nullptr;
    return m_provider->Ask([&] {
        return m_provider.CopyTo(__uuidof(IRawElementProviderSimple), reinterpret_cast<void**>(element));
    });
}

// `most`: UTF-16 units; -1: all.
HRESULT TextRangeObject::GetText(int most, BSTR* text) {
    constexpr std::size_t kMostBytes = 4; // of a character
    *text = nullptr;
    return m_provider->Ask([&] {
        const std::string_view whole = m_provider->Utf8();
        auto [from, to] = m_range.Within(whole);
        const auto limit = static_cast<std::size_t>(std::max(most, 0));
        if (most >= 0 && (to - from) / kMostBytes > limit) {
            to = CharacterBefore(whole, from + limit * kMostBytes + 1);
        }
        std::wstring wide = FromUtf8(whole.substr(from, to - from));
        if (most >= 0 && wide.size() > limit) {
            wide.resize(limit);
        }
        return SetText(wide, text);
    });
}

HRESULT TextRangeObject::Move(Unit unit, int count, int* moved) {
    *moved = 0;
    return m_provider->Ask([&] {
        *moved = m_range.Move(m_provider->Utf8(), UnitOf(unit), count);
        return S_OK;
    });
}

HRESULT TextRangeObject::MoveEndpointByUnit(Endpoint end, Unit unit, int count, int* moved) {
    *moved = 0;
    return m_provider->Ask([&] {
        *moved = m_range.MoveEnd(m_provider->Utf8(), EndOf(end), UnitOf(unit), count);
        return S_OK;
    });
}

HRESULT TextRangeObject::MoveEndpointByRange(Endpoint end, TextRangeInterface* other, Endpoint otherEnd) {
    return m_provider->Ask([&] {
        TextRangeObject* const own = Own(other);
        if (own == nullptr) {
            return E_INVALIDARG;
        }
        m_range.SetEnd(EndOf(end), own->m_range.Place(EndOf(otherEnd)));
        return S_OK;
    });
}

HRESULT TextRangeObject::Select() {
    return m_provider->Ask([&] {
        const auto [from, to] = m_range.Within(m_provider->Utf8());
        m_provider->Text().SelectBytes(from, to);
        return S_OK;
    });
}

// There is one selection.
HRESULT TextRangeObject::AddToSelection() {
    return kInvalidOperation;
}

HRESULT TextRangeObject::RemoveFromSelection() {
    return kInvalidOperation;
}

HRESULT TextRangeObject::ScrollIntoView(BOOL alignToTop) {
    return m_provider->Ask([&] {
        const auto [from, to] = m_range.Within(m_provider->Utf8());
        m_provider->Text().ShowBytes(from, to, alignToTop != FALSE);
        return S_OK;
    });
}

HRESULT TextRangeObject::GetChildren(SAFEARRAY** children) {
    *children = SafeArrayCreateVector(VT_UNKNOWN, 0, 0);
    return *children != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace vnxtest::automation
