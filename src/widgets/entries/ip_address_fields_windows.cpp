// The fields of an address entry on Windows: the system's own address control.
//
// It consists of four entries that the toolkit does not know. Each is subclassed, so that the toolkit
// learns of the focus and of clicks in it, and for pasting and copying a whole address, which the control
// lacks.
#include "widgets/entries/ip_address_fields.h"

#include <algorithm>
#include <utility>

#include <wx/control.h>
#include <wx/msw/wrapwin.h>
#include <wx/textctrl.h>

#include <commctrl.h>
#include <oleacc.h>

#include "widgets/accessible_name.h"
#include "widgets/entries/ip_address_ctrl.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

// The characters of Ctrl and a letter.
constexpr WPARAM kControlA = 1;
constexpr WPARAM kControlC = 3;
constexpr WPARAM kControlV = 22;
constexpr WPARAM kControlX = 24;

wxString TextOf(HWND entry) {
    wchar_t text[16] = {};
    const int length = GetWindowTextW(entry, text, 16);
    return {text, static_cast<std::size_t>(length)};
}

// Sets the name that assistive software reads for a window that is not the toolkit's. Without that service
// of the system the window's own name stays.
void NameForAssistance(HWND window, const wxString& name) {
    IAccPropServices* services = nullptr;
    if (SUCCEEDED(CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                                   reinterpret_cast<void**>(&services)))) {
        services->SetHwndPropStr(window, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, PROPID_ACC_NAME,
                                 name.wc_str());
        services->Release();
    }
}

std::pair<DWORD, DWORD> Selection(HWND entry) {
    DWORD from = 0;
    DWORD to = 0;
    SendMessageW(entry, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
    return {from, to};
}

// True for an empty one, too.
bool IsWhollySelected(HWND entry) {
    const auto [from, to] = Selection(entry);
    return to - from == TextOf(entry).length();
}

// The control itself. Its layout is made once, for its first size and font: another size takes another
// control.
class SystemAddress final : public wxControl {
public:
    SystemAddress(IpAddressCtrl* parent, const wxSize& size, const wxString& accessibleName,
                  std::function<void()> changed)
        : m_control(*parent), m_changed(std::move(changed)) {
        const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_INTERNET_CLASSES};
        InitCommonControlsEx(&classes);
        CreateControl(parent, wxID_ANY, wxPoint(), size, wxBORDER_NONE, wxDefaultValidator, accessibleName);
        MSWCreateControl(WC_IPADDRESSW, wxString(), wxPoint(), size);
        SetAccessibleName(*this, accessibleName);
        std::size_t found = 0;
        for (HWND entry = GetWindow(GetHwnd(), GW_CHILD); entry != nullptr && found < m_entries.size();
             entry = GetWindow(entry, GW_HWNDNEXT)) {
            m_entries[found++] = entry;
        }
        std::ranges::sort(m_entries, {}, [](HWND entry) {
            RECT place{};
            GetWindowRect(entry, &place);
            return place.left;
        });
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            NameForAssistance(m_entries[i],
                              wxString::Format("%s, field %zu of %d", accessibleName, i + 1, kIpFields));
            SetWindowSubclass(m_entries[i], &SystemAddress::OnEntry, i, reinterpret_cast<DWORD_PTR>(this));
        }
    }
    SystemAddress(const SystemAddress&) = delete;
    SystemAddress& operator=(const SystemAddress&) = delete;
    ~SystemAddress() override {
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            RemoveWindowSubclass(m_entries[i], &SystemAddress::OnEntry, i);
        }
    }

    IpFieldTexts Texts() const {
        IpFieldTexts texts;
        std::ranges::transform(m_entries, texts.begin(), TextOf);
        return texts;
    }

    void SetTexts(const IpFieldTexts& texts) {
        m_ownChange = true;
        if (std::ranges::none_of(texts, &wxString::empty)) {
            DWORD address = 0;
            for (const wxString& text : texts) {
                address = address << 8 | static_cast<DWORD>(wxAtoi(text));
            }
            SendMessageW(GetHwnd(), IPM_SETADDRESS, 0, static_cast<LPARAM>(address));
        } else {
            SendMessageW(GetHwnd(), IPM_CLEARADDRESS, 0, 0);
            for (std::size_t i = 0; i < texts.size(); ++i) {
                SetWindowTextW(m_entries[i], texts[i].wc_str());
            }
        }
        m_ownChange = false;
        m_known = Texts();
    }

    void SetFocusField(int field) { SendMessageW(GetHwnd(), IPM_SETFOCUS, static_cast<WPARAM>(field), 0); }

    int FocusedField() const {
        const auto found = std::ranges::find(m_entries, ::GetFocus());
        return found == m_entries.end() ? -1 : static_cast<int>(found - m_entries.begin());
    }

    // Back to where the user was when another program was activated; else to the first field.
    void SetFocus() override { SetFocusField(std::exchange(m_left, 0)); }

    bool MSWCommand(WXUINT notification, WXWORD) override {
        if (notification == EN_CHANGE) {
            TellChange();
        }
        return false;
    }

    bool MSWOnNotify(int id, WXLPARAM parameter, WXLPARAM* result) override {
        if (reinterpret_cast<const NMHDR*>(parameter)->code == static_cast<UINT>(IPN_FIELDCHANGED)) {
            TellChange();
        }
        return wxControl::MSWOnNotify(id, parameter, result);
    }

private:
    static LRESULT CALLBACK OnEntry(HWND entry, UINT message, WPARAM wide, LPARAM parameter, UINT_PTR index,
                                    DWORD_PTR data) {
        auto& control = *reinterpret_cast<SystemAddress*>(data);
        return control.Handles(entry, message, wide) ? 0
                                                     : control.Follow(entry, message, wide, parameter, index);
    }

    // Handles what the control does not, or not on every system.
    bool Handles(HWND entry, UINT message, WPARAM& wide) {
        switch (message) {
        case WM_CHAR:
            if (wide == kControlA) {
                SendMessageW(entry, EM_SETSEL, 0, -1);
            } else if (wide == kControlC || wide == kControlX) {
                SendMessageW(entry, wide == kControlC ? WM_COPY : WM_CUT, 0, 0);
            } else if (wide == kControlV) {
                SendMessageW(entry, WM_PASTE, 0, 0);
            } else {
                if (wide == L',' || wide == L' ') {
                    wide = L'.';
                }
                // The system would silently turn a larger number into 255.
                if (wide >= L'0' && wide <= L'9' && !Fits(entry, wxString(static_cast<wxChar>(wide)))) {
                    Refuse(entry);
                    return true;
                }
                // A dot after a full field, or a second dot, would skip the next field.
                return wide == L'.' && IsWhollySelected(entry);
            }
            return true;
        case WM_PASTE:
            Paste(entry);
            return true;
        case WM_COPY:
            return Copy(entry);
        default:
            return false;
        }
    }

    LRESULT Follow(HWND entry, UINT message, WPARAM wide, LPARAM parameter, UINT_PTR index) {
        const LRESULT result = DefSubclassProc(entry, message, wide, parameter);
        switch (message) {
        case WM_CHAR:
            // Not every system selects the text of the field that follows a full one.
            if (const HWND next = ::GetFocus();
                next != entry && std::ranges::find(m_entries, next) != m_entries.end()) {
                SendMessageW(next, EM_SETSEL, 0, -1);
            }
            break;
        case WM_SETFOCUS: {
            m_left = 0;
            wxChildFocusEvent child(this);
            HandleWindowEvent(child);
            TellFocus(wxEVT_SET_FOCUS);
            break;
        }
        case WM_KILLFOCUS: {
            const auto next = reinterpret_cast<HWND>(wide);
            if (next == nullptr || GetAncestor(next, GA_ROOT) != GetAncestor(entry, GA_ROOT)) {
                m_left = static_cast<int>(index);
            }
            if (std::ranges::find(m_entries, next) == m_entries.end()) {
                TellFocus(wxEVT_KILL_FOCUS);
            }
            break;
        }
        case WM_LBUTTONDOWN:
            TellClick(wxEVT_LEFT_DOWN);
            break;
        case WM_RBUTTONDOWN:
            TellClick(wxEVT_RIGHT_DOWN);
            break;
        case WM_MBUTTONDOWN:
            TellClick(wxEVT_MIDDLE_DOWN);
            break;
        default:
            break;
        }
        return result;
    }

    void TellFocus(wxEventType type) {
        wxFocusEvent event(type, GetId());
        event.SetEventObject(this);
        HandleWindowEvent(event);
    }

    void TellClick(wxEventType type) {
        wxMouseEvent event(type);
        event.SetEventObject(this);
        HandleWindowEvent(event);
    }

    // The system notifies of a change more than once, and of the program's own.
    void TellChange() {
        if (m_ownChange || std::ranges::find(m_entries, HWND{}) != m_entries.end()) {
            return;
        }
        IpFieldTexts texts = Texts();
        if (std::exchange(m_known, texts) != texts) {
            m_changed();
        }
    }

    void Paste(HWND entry) {
        const wxString text = ClipboardText();
        if (const auto address = SplitIpAddress(text)) {
            SetTexts(*address);
            ::SetFocus(m_entries.back());
            SendMessageW(m_entries.back(), EM_SETSEL, kIpFieldDigits, kIpFieldDigits);
            m_changed();
            return;
        }
        if (HasTooLargeNumber(text)) {
            Refuse(entry);
        } else if (!IsIpFieldText(text) || !IsIpFieldText(WithInserted(entry, text))) {
            wxBell();
        } else if (!Fits(entry, text)) {
            Refuse(entry);
        } else {
            SendMessageW(entry, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.wc_str()));
        }
    }

    // The text of a field with its selection replaced.
    static wxString WithInserted(HWND entry, const wxString& text) {
        const auto [from, to] = Selection(entry);
        wxString field = TextOf(entry);
        field.replace(from, to - from, text);
        return field;
    }

    // False for a number of three digits that is too large; the field itself refuses longer ones.
    static bool Fits(HWND entry, const wxString& inserted) {
        const wxString field = WithInserted(entry, inserted);
        return !IsIpFieldText(field) || FitsIpField(field);
    }

    void Refuse(HWND entry) {
        RefuseIpField(m_control, static_cast<int>(std::ranges::find(m_entries, entry) - m_entries.begin()));
    }

    // False if the system is to copy a part of the field.
    bool Copy(HWND entry) const {
        const auto [from, to] = Selection(entry);
        const IpFieldTexts texts = Texts();
        if ((from != to && !IsWhollySelected(entry)) || std::ranges::any_of(texts, &wxString::empty)) {
            return false;
        }
        SetClipboardText(texts[0] + "." + texts[1] + "." + texts[2] + "." + texts[3]);
        return true;
    }

    HWND GetHwnd() const { return static_cast<HWND>(GetHWND()); }

    IpAddressCtrl& m_control;
    std::function<void()> m_changed;
    std::array<HWND, kIpFields> m_entries{};
    IpFieldTexts m_known;
    bool m_ownChange = false;
    int m_left = 0; // the field to come back to
};

class SystemFields final : public IpAddressFields {
public:
    SystemFields(IpAddressCtrl& control, wxString accessibleName, std::function<void()> changed)
        : m_control(control), m_accessibleName(std::move(accessibleName)), m_changed(std::move(changed)) {
        // As high as an entry: a field refuses digits that it has no room for.
        auto* const entry = MakeChild<wxTextCtrl>(&control, wxID_ANY);
        const wxSize size(entry->GetSizeFromText(wxString('0', 6 * kIpFields)).x, entry->GetBestSize().y);
        entry->Destroy();
        control.SetMinSize(size);
        control.SetSize(size);
        Fit();
        control.Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
            Fit();
            event.Skip();
        });
    }

    IpFieldTexts Texts() const override { return m_system->Texts(); }
    void SetTexts(const IpFieldTexts& texts) override { m_system->SetTexts(texts); }
    void SetFocusField(int field) override { m_system->SetFocusField(field); }
    int FocusedField() const override { return m_system->FocusedField(); }

private:
    // Replaces the control by one of the present size.
    void Fit() {
        const wxSize size = m_control.GetClientSize();
        if (m_system != nullptr && m_system->GetSize() == size) {
            return;
        }
        SystemAddress* const before = m_system;
        m_system = MakeChild<SystemAddress>(&m_control, size, m_accessibleName, m_changed);
        EnableWindow(static_cast<HWND>(m_system->GetHandle()), m_control.IsEnabled());
        if (before != nullptr) {
            m_system->SetTexts(before->Texts());
            if (before->FocusedField() >= 0) {
                m_system->SetFocusField(before->FocusedField());
            }
            before->Destroy();
        }
    }

    IpAddressCtrl& m_control;
    wxString m_accessibleName;
    std::function<void()> m_changed;
    SystemAddress* m_system = nullptr;
};

} // namespace

std::unique_ptr<IpAddressFields> MakeIpAddressFields(IpAddressCtrl& control, const wxString& accessibleName,
                                                     std::function<void()> changed) {
    return std::make_unique<SystemFields>(control, accessibleName, std::move(changed));
}

} // namespace vnxtest
