// UI Automation from the side of a control, as far as the compiler's headers and import libraries of all
// supported systems lack it: the interfaces of a text, and the functions of uiautomationcore.dll, which are
// looked up at run time, so that the program runs where one is missing. Microsoft's reference: "UI Automation
// Providers". User-interface thread.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>

#include <ole2.h>
#include <uiautomationclient.h>
#include <uiautomationcore.h>
#include <wrl/client.h>

#include "wrenlib/shared_object.h"

namespace vnxtest::automation {

using Microsoft::WRL::ComPtr;

// What the system calls UiaRootObjectId, UIA_E_ELEMENTNOTAVAILABLE and so on; one of the headers with its
// names is no C++.
inline constexpr LONG kRootObject = -25;
inline constexpr HRESULT kNotAvailable = static_cast<HRESULT>(0x80040201);
inline constexpr HRESULT kInvalidOperation = static_cast<HRESULT>(0x80131509);
inline constexpr PATTERNID kTextPattern2 = 10024;
inline constexpr EVENTID kTextSelectionChanged = 20014;
inline constexpr EVENTID kTextChanged = 20015;
inline constexpr int kSingleSelection = 1;            // SupportedTextSelection
inline constexpr int kItemAdded = 0;                  // NotificationKind
inline constexpr int kCurrentThenMostRecent = 4;      // NotificationProcessing
inline constexpr TEXTATTRIBUTEID kIsReadOnly = 40015; // UIA_IsReadOnlyAttributeId
enum class Endpoint { Start, End };                   // TextPatternRangeEndpoint
enum class Unit { Character, Format, Word, Line, Paragraph, Page, Document };

struct Point {
    double x;
    double y;
};

// Objects end by Release(): the system's interfaces have no destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// ITextRangeProvider
class TextRangeInterface : public IUnknown {
public:
    static const IID kId;

    virtual HRESULT STDMETHODCALLTYPE Clone(TextRangeInterface** clone) = 0;
    virtual HRESULT STDMETHODCALLTYPE Compare(TextRangeInterface* other, BOOL* same) = 0;
    virtual HRESULT STDMETHODCALLTYPE CompareEndpoints(Endpoint end, TextRangeInterface* other,
                                                       Endpoint otherEnd, int* order) = 0;
    virtual HRESULT STDMETHODCALLTYPE ExpandToEnclosingUnit(Unit unit) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindAttribute(TEXTATTRIBUTEID attribute, VARIANT value, BOOL backward,
                                                    TextRangeInterface** found) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindText(BSTR text, BOOL backward, BOOL ignoreCase,
                                               TextRangeInterface** found) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAttributeValue(TEXTATTRIBUTEID attribute, VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBoundingRectangles(SAFEARRAY** rectangles) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetEnclosingElement(IRawElementProviderSimple** element) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetText(int most, BSTR* text) = 0;
    virtual HRESULT STDMETHODCALLTYPE Move(Unit unit, int count, int* moved) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveEndpointByUnit(Endpoint end, Unit unit, int count, int* moved) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveEndpointByRange(Endpoint end, TextRangeInterface* other,
                                                          Endpoint otherEnd) = 0;
    virtual HRESULT STDMETHODCALLTYPE Select() = 0;
    virtual HRESULT STDMETHODCALLTYPE AddToSelection() = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveFromSelection() = 0;
    virtual HRESULT STDMETHODCALLTYPE ScrollIntoView(BOOL alignToTop) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChildren(SAFEARRAY** children) = 0;

protected:
    ~TextRangeInterface() = default;
};

// ITextProvider and, behind it, ITextProvider2
class TextInterface : public IUnknown {
public:
    static const IID kId;
    static const IID kSecondId;

    virtual HRESULT STDMETHODCALLTYPE GetSelection(SAFEARRAY** ranges) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVisibleRanges(SAFEARRAY** ranges) = 0;
    virtual HRESULT STDMETHODCALLTYPE RangeFromChild(IRawElementProviderSimple* child,
                                                     TextRangeInterface** range) = 0;
    virtual HRESULT STDMETHODCALLTYPE RangeFromPoint(Point screen, TextRangeInterface** range) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_DocumentRange(TextRangeInterface** range) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SupportedTextSelection(int* kind) = 0;
    virtual HRESULT STDMETHODCALLTYPE RangeFromAnnotation(IRawElementProviderSimple* annotation,
                                                          TextRangeInterface** range) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCaretRange(BOOL* hasKeyboard, TextRangeInterface** range) = 0;

protected:
    ~TextInterface() = default;
};

#pragma GCC diagnostic pop

// The references of an object, which ends with the last of them. Those of a range are counted by any thread.
template <typename Object>
class Counted {
public:
    ULONG Add() { return ++m_references; }
    ULONG Drop(Object* object) {
        const ULONG left = --m_references;
        if (left == 0) {
            const std::unique_ptr<Object> end(object);
        }
        return left;
    }

private:
    std::atomic<ULONG> m_references{1};
};

// The one reference of a new object.
template <typename Object, typename... Arguments>
ComPtr<Object> MakeObject(Arguments&&... arguments) {
    ComPtr<Object> made;
    made.Attach(std::make_unique<Object>(std::forward<Arguments>(arguments)...).release());
    return made;
}

// The functions. Where one is missing nobody listens, and a call that is to give something fails.
class Library {
public:
    Library();

    bool ClientsAreListening() const { return m_clientsAreListening && m_clientsAreListening() != FALSE; }
    // The answer to WM_GETOBJECT; without a provider: forget what was given for this window.
    LRESULT Return(HWND window, WPARAM wParam, LPARAM lParam, IRawElementProviderSimple* provider) const;
    HRESULT HostProvider(HWND window, IRawElementProviderSimple** host) const;
    HRESULT NotSupportedValue(IUnknown** value) const;
    void Raise(IRawElementProviderSimple* provider, EVENTID event) const;
    // Has `sentence` said behind what is being said. Windows 10 1709 and later.
    void Notify(IRawElementProviderSimple* provider, const std::wstring& sentence) const;
    void Disconnect(IRawElementProviderSimple* provider) const;

private:
    std::unique_ptr<SharedObject> m_library;
    BOOL(WINAPI* m_clientsAreListening)() = nullptr;
    LRESULT(WINAPI* m_return)(HWND, WPARAM, LPARAM, IRawElementProviderSimple*) = nullptr;
    HRESULT(WINAPI* m_hostProvider)(HWND, IRawElementProviderSimple**) = nullptr;
    HRESULT(WINAPI* m_notSupported)(IUnknown**) = nullptr;
    HRESULT(WINAPI* m_raise)(IRawElementProviderSimple*, EVENTID) = nullptr;
    HRESULT(WINAPI* m_notify)(IRawElementProviderSimple*, int, int, BSTR, BSTR) = nullptr;
    HRESULT(WINAPI* m_disconnect)(IRawElementProviderSimple*) = nullptr;
};

} // namespace vnxtest::automation
