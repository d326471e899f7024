#include "widgets/access/text_provider_windows.h"

#include <algorithm>

#include <wx/window.h>

#include "widgets/access/text_range_windows.h"

namespace vnxtest::automation {

namespace {

void SetBool(VARIANT& value, bool set) {
    value.vt = VT_BOOL;
    value.boolVal = set ? VARIANT_TRUE : VARIANT_FALSE;
}

void SetNumber(VARIANT& value, LONG number) {
    value.vt = VT_I4;
    value.lVal = number;
}

HRESULT SetText(VARIANT& value, const std::wstring& text) {
    value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    value.vt = value.bstrVal != nullptr ? VT_BSTR : VT_EMPTY;
    return value.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace

TextProvider::TextProvider(wxWindow& window, ReadableText& text, const wxString& name,
                           std::shared_ptr<const Library> library)
    : m_window(&window), m_text(text), m_name(name.ToStdWstring()), m_library(std::move(library)) {}

HRESULT TextProvider::QueryInterface(REFIID id, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (id == __uuidof(IUnknown) || id == __uuidof(IRawElementProviderSimple)) {
        *object = static_cast<IRawElementProviderSimple*>(this);
    } else if (id == TextInterface::kId || id == TextInterface::kSecondId) {
        *object = static_cast<TextInterface*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

HRESULT TextProvider::get_ProviderOptions(ProviderOptions* options) {
    *options =
        static_cast<ProviderOptions>(ProviderOptions_ServerSideProvider | ProviderOptions_UseComThreading);
    return S_OK;
}

HRESULT TextProvider::GetPatternProvider(PATTERNID pattern, IUnknown** provider) {
    *provider = nullptr;
    if (pattern == UIA_TextPatternId || pattern == kTextPattern2) {
        *provider = static_cast<TextInterface*>(this);
        AddRef();
    }
    return S_OK;
}

// What is not answered here the system answers for the window.
HRESULT TextProvider::GetPropertyValue(PROPERTYID property, VARIANT* value) {
    constexpr LONG kDocument = 50030; // the control type
    constexpr LONG kPolite = 1;
    VariantInit(value);
    return Ask([&] {
        switch (property) {
        case UIA_ControlTypePropertyId:
            SetNumber(*value, kDocument);
            break;
        case UIA_LiveSettingPropertyId:
            SetNumber(*value, kPolite);
            break;
        case UIA_NamePropertyId:
        case UIA_AutomationIdPropertyId:
            return SetText(*value, m_name);
        case UIA_IsControlElementPropertyId:
        case UIA_IsContentElementPropertyId:
        case UIA_IsKeyboardFocusablePropertyId:
            SetBool(*value, true);
            break;
        case UIA_HasKeyboardFocusPropertyId:
            SetBool(*value, m_window->HasFocus());
            break;
        default:
            break;
        }
        return S_OK;
    });
}

HRESULT TextProvider::get_HostRawElementProvider(IRawElementProviderSimple** host) {
    *host = nullptr;
    return Ask([&] { return m_library->HostProvider(m_window->GetHWND(), host); });
}

ByteRange TextProvider::VisibleLines() const {
    const std::string_view text = Utf8();
    const int height = std::max(1, m_window->GetClientSize().y);
    return {UnitAround(text, m_text.ByteAtPlace(wxPoint(0, 0)), TextUnit::Line).first,
            UnitAround(text, m_text.ByteAtPlace(wxPoint(0, height - 1)), TextUnit::Line).second};
}

ComPtr<TextRangeInterface> TextProvider::MakeRange(ByteRange bytes) {
    return MakeObject<TextRangeObject>(ComPtr<TextProvider>(this), TextRange(bytes));
}

HRESULT TextProvider::ListOfOne(ByteRange bytes, SAFEARRAY** ranges) {
    LONG first = 0;
    *ranges = SafeArrayCreateVector(VT_UNKNOWN, 0, 1);
    return *ranges != nullptr ? SafeArrayPutElement(*ranges, &first, MakeRange(bytes).Get()) : E_OUTOFMEMORY;
}

// The caret, if nothing is selected.
HRESULT TextProvider::GetSelection(SAFEARRAY** ranges) {
    *ranges = nullptr;
    return Ask([&] {
        const ByteRange selected = m_text.SelectedBytes();
        const std::size_t caret = m_text.CaretByte();
        return ListOfOne(selected.first != selected.second ? selected : ByteRange{caret, caret}, ranges);
    });
}

HRESULT TextProvider::GetVisibleRanges(SAFEARRAY** ranges) {
    *ranges = nullptr;
    return Ask([&] { return ListOfOne(VisibleLines(), ranges); });
}

// There are no children, and no annotations.
HRESULT TextProvider::RangeFromChild(IRawElementProviderSimple*, TextRangeInterface** range) {
    *range = nullptr;
    return E_INVALIDARG;
}

HRESULT TextProvider::RangeFromAnnotation(IRawElementProviderSimple*, TextRangeInterface** range) {
    *range = nullptr;
    return E_INVALIDARG;
}

HRESULT TextProvider::RangeFromPoint(Point screen, TextRangeInterface** range) {
    *range = nullptr;
    return Ask([&] {
        const wxPoint at(static_cast<int>(screen.x), static_cast<int>(screen.y));
        const std::size_t byte = m_text.ByteAtPlace(m_window->ScreenToClient(at));
        *range = MakeRange({byte, byte}).Detach();
        return S_OK;
    });
}

HRESULT TextProvider::get_DocumentRange(TextRangeInterface** range) {
    *range = nullptr;
    return Ask([&] {
        *range = MakeRange({0, Utf8().size()}).Detach();
        return S_OK;
    });
}

HRESULT TextProvider::get_SupportedTextSelection(int* kind) {
    *kind = kSingleSelection;
    return S_OK;
}

HRESULT TextProvider::GetCaretRange(BOOL* hasKeyboard, TextRangeInterface** range) {
    *range = nullptr;
    return Ask([&] {
        const std::size_t caret = m_text.CaretByte();
        *hasKeyboard = m_window->HasFocus() ? TRUE : FALSE;
        *range = MakeRange({caret, caret}).Detach();
        return S_OK;
    });
}

} // namespace vnxtest::automation
