// A part of a control's text for UI Automation, which moves it about.
#pragma once

#include "widgets/access/text_provider_windows.h"

namespace vnxtest::automation {

class TextRangeObject final : public TextRangeInterface {
public:
    TextRangeObject(ComPtr<TextProvider> provider, TextRange range)
        : m_provider(std::move(provider)), m_range(range) {}
    virtual ~TextRangeObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return m_count.Add(); }
    ULONG STDMETHODCALLTYPE Release() override { return m_count.Drop(this); }

    HRESULT STDMETHODCALLTYPE Clone(TextRangeInterface** clone) override;
    HRESULT STDMETHODCALLTYPE Compare(TextRangeInterface* other, BOOL* same) override;
    HRESULT STDMETHODCALLTYPE CompareEndpoints(Endpoint end, TextRangeInterface* other, Endpoint otherEnd,
                                               int* order) override;
    HRESULT STDMETHODCALLTYPE ExpandToEnclosingUnit(Unit unit) override;
    HRESULT STDMETHODCALLTYPE FindAttribute(TEXTATTRIBUTEID attribute, VARIANT value, BOOL backward,
                                            TextRangeInterface** found) override;
    HRESULT STDMETHODCALLTYPE FindText(BSTR text, BOOL backward, BOOL ignoreCase,
                                       TextRangeInterface** found) override;
    HRESULT STDMETHODCALLTYPE GetAttributeValue(TEXTATTRIBUTEID attribute, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE GetBoundingRectangles(SAFEARRAY** rectangles) override;
    HRESULT STDMETHODCALLTYPE GetEnclosingElement(IRawElementProviderSimple** element) override;
    HRESULT STDMETHODCALLTYPE GetText(int most, BSTR* text) override;
    HRESULT STDMETHODCALLTYPE Move(Unit unit, int count, int* moved) override;
    HRESULT STDMETHODCALLTYPE MoveEndpointByUnit(Endpoint end, Unit unit, int count, int* moved) override;
    HRESULT STDMETHODCALLTYPE MoveEndpointByRange(Endpoint end, TextRangeInterface* other,
                                                  Endpoint otherEnd) override;
    HRESULT STDMETHODCALLTYPE Select() override;
    HRESULT STDMETHODCALLTYPE AddToSelection() override;
    HRESULT STDMETHODCALLTYPE RemoveFromSelection() override;
    HRESULT STDMETHODCALLTYPE ScrollIntoView(BOOL alignToTop) override;
    HRESULT STDMETHODCALLTYPE GetChildren(SAFEARRAY** children) override;

private:
    // Null if it is a range of another text.
    TextRangeObject* Own(TextRangeInterface* other);
    ComPtr<TextRangeInterface> MakeRange(ByteRange bytes);
    // On the screen, as far as it is in the window.
    std::vector<wxRect> Places();

    Counted<TextRangeObject> m_count;
    const ComPtr<TextProvider> m_provider;
    TextRange m_range;
};

} // namespace vnxtest::automation
