// The text of a control for UI Automation: what a screen reader of Windows asks for. Its calls come on the
// window's thread (UseComThreading). It may outlive the control; then it says that the text is not available.
#pragma once

#include <new>

#include <wx/gdicmn.h>

#include "widgets/access/automation_windows.h"
#include "widgets/access/text_access.h"
#include "widgets/access/text_range.h"

namespace vnxtest::automation {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // an interface has no destructor

class TextProvider final : public IRawElementProviderSimple, public TextInterface {
public:
    TextProvider(wxWindow& window, ReadableText& text, const wxString& name,
                 std::shared_ptr<const Library> library);
    virtual ~TextProvider() = default;

    // The control is going.
    void Leave() { m_window = nullptr; }

    // What `answer` returns, or why the text cannot be asked. Nothing may be thrown through the system.
    template <typename Answer>
    HRESULT Ask(const Answer& answer) {
        if (m_window == nullptr) {
            return kNotAvailable;
        }
        try {
            return answer();
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    // For those that ask.
    ReadableText& Text() { return m_text; }
    std::string_view Utf8() const { return m_text.ReadableUtf8(); }
    wxWindow& Window() { return *m_window; }
    const Library& System() const { return *m_library; }
    // The lines of which something is in the window, as far up and down.
    ByteRange VisibleLines() const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return m_count.Add(); }
    ULONG STDMETHODCALLTYPE Release() override { return m_count.Drop(this); }

    // IRawElementProviderSimple
    HRESULT STDMETHODCALLTYPE get_ProviderOptions(ProviderOptions* options) override;
    HRESULT STDMETHODCALLTYPE GetPatternProvider(PATTERNID pattern, IUnknown** provider) override;
    HRESULT STDMETHODCALLTYPE GetPropertyValue(PROPERTYID property, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE get_HostRawElementProvider(IRawElementProviderSimple** host) override;

    // TextInterface
    HRESULT STDMETHODCALLTYPE GetSelection(SAFEARRAY** ranges) override;
    HRESULT STDMETHODCALLTYPE GetVisibleRanges(SAFEARRAY** ranges) override;
    HRESULT STDMETHODCALLTYPE RangeFromChild(IRawElementProviderSimple* child,
                                             TextRangeInterface** range) override;
    HRESULT STDMETHODCALLTYPE RangeFromPoint(Point screen, TextRangeInterface** range) override;
    HRESULT STDMETHODCALLTYPE get_DocumentRange(TextRangeInterface** range) override;
    HRESULT STDMETHODCALLTYPE get_SupportedTextSelection(int* kind) override;
    HRESULT STDMETHODCALLTYPE RangeFromAnnotation(IRawElementProviderSimple* annotation,
                                                  TextRangeInterface** range) override;
    HRESULT STDMETHODCALLTYPE GetCaretRange(BOOL* hasKeyboard, TextRangeInterface** range) override;

private:
    HRESULT ListOfOne(ByteRange bytes, SAFEARRAY** ranges);
    ComPtr<TextRangeInterface> MakeRange(ByteRange bytes);

    Counted<TextProvider> m_count;
    wxWindow* m_window; // null once it is gone
    ReadableText& m_text;
    const std::wstring m_name;
    const std::shared_ptr<const Library> m_library;
};

#pragma GCC diagnostic pop

} // namespace vnxtest::automation
