// UI Automation by its provider; and for software that asks by Active Accessibility the role of a text, its
// name, and as its value what is selected or the caret's line.
#include <tuple>

#include <wx/access.h>
#include <wx/msw/wrapwin.h>
#include <wx/window.h>

#include <commctrl.h>

#include "widgets/access/text_access.h"
#include "widgets/access/text_provider_windows.h"
#include "widgets/access/text_units.h"
#include "widgets/make_child.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr std::size_t kMostValue = std::size_t{16} * 1024; // bytes of a selection

wxString ValueOf(const ReadableText& readable) {
    const std::string_view text = readable.ReadableUtf8();
    auto [from, to] = readable.SelectedBytes();
    if (from == to) {
        std::tie(from, to) = UnitAround(text, readable.CaretByte(), TextUnit::Line);
    }
    if (to - from > kMostValue) {
        to = CharacterBefore(text, from + kMostValue);
    }
    return wxString::FromUTF8(text.data() + from, to - from).Trim();
}

class TextAccessible final : public wxWindowAccessible {
public:
    TextAccessible(wxWindow* window, const ReadableText& text, bool& isRead)
        : wxWindowAccessible(window), m_text(text), m_isRead(isRead) {}

    wxAccStatus GetName(int child, wxString* name) override {
        if (child != wxACC_SELF) {
            return wxWindowAccessible::GetName(child, name);
        }
        *name = GetWindow()->GetName();
        return wxACC_OK;
    }
    wxAccStatus GetRole(int child, wxAccRole* role) override {
        if (child != wxACC_SELF) {
            return wxWindowAccessible::GetRole(child, role);
        }
        *role = wxROLE_SYSTEM_TEXT;
        return wxACC_OK;
    }
    wxAccStatus GetState(int child, long* state) override {
        if (child != wxACC_SELF) {
            return wxWindowAccessible::GetState(child, state);
        }
        *state = wxACC_STATE_SYSTEM_READONLY | wxACC_STATE_SYSTEM_FOCUSABLE |
                 (GetWindow()->HasFocus() ? wxACC_STATE_SYSTEM_FOCUSED : 0);
        return wxACC_OK;
    }
    wxAccStatus GetValue(int child, wxString* value) override {
        if (child != wxACC_SELF) {
            return wxWindowAccessible::GetValue(child, value);
        }
        m_isRead = true;
        *value = ValueOf(m_text);
        return wxACC_OK;
    }

private:
    const ReadableText& m_text;
    bool& m_isRead;
};

class WindowsTextAccess final : public TextAccess {
public:
    WindowsTextAccess(wxWindow& window, ReadableText& text, const wxString& name)
        : TextAccess(text), m_window(window), m_system(std::make_shared<automation::Library>()),
          m_provider(automation::MakeObject<automation::TextProvider>(window, text, name, m_system)) {
        window.SetName(name);
        window.SetAccessible(MakeChild<TextAccessible>(&window, text, m_isRead)); // the window owns it
        SetWindowSubclass(window.GetHWND(), &WindowsTextAccess::OnMessage, kNumber,
                          reinterpret_cast<DWORD_PTR>(this));
    }
    ~WindowsTextAccess() override {
        RemoveWindowSubclass(m_window.GetHWND(), &WindowsTextAccess::OnMessage, kNumber);
        m_provider->Leave();
        m_system->Return(m_window.GetHWND(), 0, 0, nullptr);
        m_system->Disconnect(m_provider.Get());
        m_window.SetAccessible(nullptr);
    }

protected:
    bool IsRead() const override { return m_isRead || m_system->ClientsAreListening(); }
    void TellAdded(std::size_t, std::size_t) override { Tell(automation::kTextChanged); }
    void TellEmptied() override {
        if (IsRead()) {
            Tell(automation::kTextChanged);
        }
    }
    void TellMoved() override { Tell(automation::kTextSelectionChanged); }
    void Announce(const std::string& sentence) override {
        if (m_system->ClientsAreListening()) {
            m_system->Notify(m_provider.Get(), FromUtf8(sentence));
        }
    }

private:
    static constexpr UINT_PTR kNumber = 1; // of the subclass

    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                      DWORD_PTR data) {
        auto& self = *reinterpret_cast<WindowsTextAccess*>(data);
        // The upper half of the object's number is not always filled with its sign.
        if (message == WM_GETOBJECT && static_cast<LONG>(lParam) == automation::kRootObject) {
            return self.m_system->Return(window, wParam, lParam, self.m_provider.Get());
        }
        return DefSubclassProc(window, message, wParam, lParam);
    }

    void Tell(EVENTID event) {
        if (m_system->ClientsAreListening()) {
            m_system->Raise(m_provider.Get(), event);
        }
        if (m_isRead) {
            wxAccessible::NotifyEvent(wxACC_EVENT_OBJECT_VALUECHANGE, &m_window, wxOBJID_CLIENT, wxACC_SELF);
        }
    }

    wxWindow& m_window;
    const std::shared_ptr<const automation::Library> m_system;
    const automation::ComPtr<automation::TextProvider> m_provider;
    bool m_isRead = false; // by Active Accessibility
};

} // namespace

std::unique_ptr<TextAccess> MakeTextAccess(wxWindow& window, ReadableText& text, const wxString& name) {
    return std::make_unique<WindowsTextAccess>(window, text, name);
}

} // namespace vnxtest
