// What a screen reader of Windows gets of a text: asked through the system as far as it goes here, and by the
// provider's own interfaces, as the system asks it.
#include <algorithm>
#include <chrono>
#include <future>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/msw/wrapwin.h>

#include <oleacc.h>

#include "widgets/access/text_provider_windows.h"

namespace vnxtest::automation {
namespace {

// Letters of 10 x 20 pixels, without line ends.
class Letters final : public ReadableText {
public:
    std::string_view ReadableUtf8() const override { return text; }
    std::size_t CaretByte() const override { return selected.second; }
    ByteRange SelectedBytes() const override { return selected; }
    void SelectBytes(std::size_t from, std::size_t to) override { selected = {from, to}; }
    void ShowBytes(std::size_t from, std::size_t, bool) override { shown = from; }
    wxRect PlaceOfByte(std::size_t byte) override {
        const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(byte), '\n');
        const std::size_t column = byte - UnitAround(text, byte, TextUnit::Line).first;
        return {static_cast<int>(column) * 10, static_cast<int>(line) * 20, 10, 20};
    }
    std::size_t ByteAtPlace(const wxPoint& place) const override {
        TextRange line({0, 0});
        line.Move(text, TextUnit::Line, place.y / 20);
        return std::min(line.Within(text).first + static_cast<std::size_t>(place.x / 10), text.size());
    }

    std::string text = "first line\nsecond \xC3\xA9t\xC3\xA9\nthird\n";
    ByteRange selected{11, 11};
    std::size_t shown = 99;
};

class TextOfWindows : public testing::Test {
protected:
    void SetUp() override {
        m_frame = std::make_unique<wxFrame>(nullptr, wxID_ANY, "test", wxDefaultPosition, wxSize(400, 300));
        m_window =
            std::make_unique<wxWindow>(m_frame.get(), wxID_ANY, wxPoint(0, 0), wxSize(100, 50)).release();
        m_frame->Show();
        m_provider = MakeObject<TextProvider>(*m_window, m_text, "Report", std::make_shared<Library>());
        ComPtr<IUnknown> pattern;
        ASSERT_EQ(m_provider->GetPatternProvider(UIA_TextPatternId, &pattern), S_OK);
        ASSERT_EQ(pattern.CopyTo(TextInterface::kId, reinterpret_cast<void**>(m_pattern.GetAddressOf())),
                  S_OK);
    }

    // The range of a call that gives one.
    template <typename Call, typename... Arguments>
    ComPtr<TextRangeInterface> Range(Call call, Arguments... arguments) {
        ComPtr<TextRangeInterface> range;
        EXPECT_EQ((m_pattern.Get()->*call)(arguments..., &range), S_OK);
        return range;
    }
    ComPtr<TextRangeInterface> Whole() { return Range(&TextInterface::get_DocumentRange); }
    static std::wstring Read(TextRangeInterface& range, int most = -1) {
        BSTR text = nullptr;
        EXPECT_EQ(range.GetText(most, &text), S_OK);
        std::wstring copy(text, SysStringLen(text));
        SysFreeString(text);
        return copy;
    }
    // The one range of a list.
    std::wstring ReadFirst(HRESULT (STDMETHODCALLTYPE TextInterface::*call)(SAFEARRAY**)) {
        SAFEARRAY* list = nullptr;
        LONG first = 0;
        ComPtr<IUnknown> found;
        EXPECT_EQ((m_pattern.Get()->*call)(&list), S_OK);
        EXPECT_EQ(SafeArrayGetElement(list, &first, found.GetAddressOf()), S_OK);
        SafeArrayDestroy(list);
        return Read(*static_cast<TextRangeInterface*>(found.Get()));
    }

    std::unique_ptr<wxFrame> m_frame;
    wxWindow* m_window = nullptr; // the frame's
    Letters m_text;
    ComPtr<TextProvider> m_provider;
    ComPtr<TextInterface> m_pattern;
};

TEST_F(TextOfWindows, IsReadByRanges) {
    const ComPtr<TextRangeInterface> range = Whole();
    EXPECT_EQ(Read(*range.Get(), 8), L"first li");
    EXPECT_EQ(Read(*range.Get()).size(), 28U);
    int moved = 0;
    ASSERT_EQ(range->Move(Unit::Line, 1, &moved), S_OK);
    EXPECT_EQ(moved, 1);
    EXPECT_EQ(Read(*range.Get()), L"second \x00E9t\x00E9\n");
    ASSERT_EQ(range->MoveEndpointByUnit(Endpoint::Start, Unit::Word, 1, &moved), S_OK);
    EXPECT_EQ(Read(*range.Get()), L"\x00E9t\x00E9\n");
    int order = 0;
    ASSERT_EQ(Whole()->CompareEndpoints(Endpoint::Start, range.Get(), Endpoint::Start, &order), S_OK);
    EXPECT_EQ(order, -1);

    ComPtr<TextRangeInterface> found;
    BSTR const wanted = SysAllocString(L"THIRD");
    ASSERT_EQ(Whole()->FindText(wanted, TRUE, FALSE, &found), S_OK);
    EXPECT_EQ(found.Get(), nullptr);
    ASSERT_EQ(Whole()->FindText(wanted, TRUE, TRUE, &found), S_OK);
    SysFreeString(wanted);
    ASSERT_NE(found.Get(), nullptr);
    ASSERT_EQ(found->Select(), S_OK);
    EXPECT_EQ(m_text.selected, ByteRange(24, 29));
    EXPECT_EQ(ReadFirst(&TextInterface::GetSelection), L"third");
    ASSERT_EQ(found->ScrollIntoView(TRUE), S_OK);
    EXPECT_EQ(m_text.shown, 24U);
    BOOL keyboard = TRUE;
    EXPECT_EQ(Read(*Range(&TextInterface::GetCaretRange, &keyboard).Get()), L"");
}

TEST_F(TextOfWindows, KnowsItsPlaces) {
    // 50 pixels are two lines and a half.
    EXPECT_EQ(ReadFirst(&TextInterface::GetVisibleRanges).size(), 28U);
    const wxPoint at = m_window->ClientToScreen(wxPoint(75, 25));
    const ComPtr<TextRangeInterface> range =
        Range(&TextInterface::RangeFromPoint, Point{static_cast<double>(at.x), static_cast<double>(at.y)});
    ASSERT_EQ(range->ExpandToEnclosingUnit(Unit::Word), S_OK);
    SAFEARRAY* numbers = nullptr;
    ASSERT_EQ(range->GetBoundingRectangles(&numbers), S_OK);
    LONG last = 0;
    ASSERT_EQ(SafeArrayGetUBound(numbers, 1, &last), S_OK);
    ASSERT_EQ(last, 3);
    const wxPoint origin = m_window->ClientToScreen(wxPoint(70, 20));
    const double expected[] = {static_cast<double>(origin.x), static_cast<double>(origin.y), 50, 20};
    for (LONG index = 0; index <= last; ++index) {
        double number = 0;
        SafeArrayGetElement(numbers, &index, &number);
        EXPECT_EQ(number, expected[index]) << index;
    }
    SafeArrayDestroy(numbers);
}

TEST_F(TextOfWindows, IsNotThereAnyMoreBehindTheWindow) {
    const ComPtr<TextRangeInterface> range = Whole();
    m_text.text.clear(); // a report that was begun anew
    EXPECT_EQ(Read(*range.Get()), L"");
    m_provider->Leave();
    int moved = 0;
    EXPECT_EQ(range->Move(Unit::Line, 1, &moved), kNotAvailable);
    VARIANT name;
    EXPECT_EQ(m_provider->GetPropertyValue(UIA_NamePropertyId, &name), kNotAvailable);
}

// The name and the control type that a client of UI Automation gets of a window. It asks from a thread of its
// own, as the system's own clients do.
std::pair<std::wstring, LONG> AskFromOutside(HWND window) {
    using Node = void*; // a handle
    std::pair<std::wstring, LONG> answer;
    HRESULT(WINAPI * nodeFromHandle)(HWND, Node*) = nullptr;
    HRESULT(WINAPI * propertyValue)(Node, PROPERTYID, VARIANT*) = nullptr;
    BOOL(WINAPI * release)(Node) = nullptr;
    std::wstring missing;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const auto library = SharedObject::Load(L"C:\\windows\\system32\\uiautomationcore.dll");
    Node node = nullptr;
    if (library && (*library)->Bind(nodeFromHandle, "UiaNodeFromHandle", missing) &&
        (*library)->Bind(propertyValue, "UiaGetPropertyValue", missing) &&
        (*library)->Bind(release, "UiaNodeRelease", missing) && SUCCEEDED(nodeFromHandle(window, &node))) {
        VARIANT value;
        if (SUCCEEDED(propertyValue(node, UIA_NamePropertyId, &value)) && value.vt == VT_BSTR) {
            answer.first = value.bstrVal;
            VariantClear(&value);
        }
        if (SUCCEEDED(propertyValue(node, UIA_ControlTypePropertyId, &value)) && value.vt == VT_I4) {
            answer.second = value.lVal;
        }
        release(node);
    }
    CoUninitialize();
    return answer;
}

// As a screen reader comes to it: from the window. Its questions are answered on the window's thread.
TEST_F(TextOfWindows, IsFoundFromTheWindow) {
    const auto access = MakeTextAccess(*m_window, m_text, "Report");
    auto asked = std::async(std::launch::async, AskFromOutside, m_window->GetHWND());
    while (asked.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        MSG message;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            DispatchMessageW(&message);
        }
    }
    constexpr LONG kDocument = 50030;
    EXPECT_EQ(asked.get(), std::pair(std::wstring(L"Report"), kDocument));
}

TEST_F(TextOfWindows, IsFoundByOlderSoftware) {
    const auto access = MakeTextAccess(*m_window, m_text, "Report");
    ComPtr<IAccessible> older;
    ASSERT_EQ(AccessibleObjectFromWindow(m_window->GetHWND(), static_cast<DWORD>(OBJID_CLIENT),
                                         __uuidof(IAccessible),
                                         reinterpret_cast<void**>(older.GetAddressOf())),
              S_OK);
    VARIANT self;
    VariantInit(&self);
    self.vt = VT_I4;
    self.lVal = CHILDID_SELF;
    VARIANT role;
    ASSERT_EQ(older->get_accRole(self, &role), S_OK);
    EXPECT_EQ(role.lVal, ROLE_SYSTEM_TEXT);
    BSTR text = nullptr;
    ASSERT_EQ(older->get_accName(self, &text), S_OK);
    EXPECT_EQ(std::wstring(text), L"Report");
    SysFreeString(text);
    ASSERT_EQ(older->get_accValue(self, &text), S_OK);
    EXPECT_EQ(std::wstring(text), L"second \x00E9t\x00E9"); // the caret's line
    SysFreeString(text);
}

} // namespace
} // namespace vnxtest::automation
