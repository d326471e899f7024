#include "widgets/access/automation_windows.h"

#include "wrenlib/trace.h"

namespace vnxtest::automation {

const IID TextRangeInterface::kId = {
    0x5347AD7B, 0xC355, 0x46F8, {0xAF, 0xF5, 0x90, 0x90, 0x33, 0x58, 0x2F, 0x63}};
const IID TextInterface::kId = {0x3589C92C, 0x63F3, 0x4367, {0x99, 0xBB, 0xAD, 0xA6, 0x53, 0xB7, 0x7C, 0xF2}};
const IID TextInterface::kSecondId = {
    0x0DC5E6ED, 0x3E16, 0x4BF1, {0x8F, 0x9A, 0xA9, 0x79, 0x87, 0x8B, 0xC1, 0x95}};

namespace {

// Of the system's folder only.
Result<std::unique_ptr<SharedObject>> LoadOfSystem(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = {};
    return SharedObject::Load(std::wstring(folder, GetSystemDirectoryW(folder, MAX_PATH)) + L"\\" + name);
}

} // namespace

Library::Library() {
    auto loaded = LoadOfSystem(L"uiautomationcore.dll");
    if (!loaded) {
        WrenLibAfxTrace(L"UI Automation: uiautomationcore.dll could not be loaded\n");
        return;
    }
    m_library = std::move(*loaded);
    std::wstring missing;
    m_library->Bind(m_clientsAreListening, "UiaClientsAreListening", missing);
    m_library->Bind(m_return, "UiaReturnRawElementProvider", missing);
    m_library->Bind(m_hostProvider, "UiaHostProviderFromHwnd", missing);
    m_library->Bind(m_notSupported, "UiaGetReservedNotSupportedValue", missing);
    m_library->Bind(m_raise, "UiaRaiseAutomationEvent", missing);
    m_library->Bind(m_notify, "UiaRaiseNotificationEvent", missing);
    m_library->Bind(m_disconnect, "UiaDisconnectProvider", missing);
    if (!missing.empty()) {
        WrenLibAfxTrace(L"UI Automation: uiautomationcore.dll lacks %s\n", missing);
    }
}

LRESULT Library::Return(HWND window, WPARAM wParam, LPARAM lParam,
                        IRawElementProviderSimple* provider) const {
    return m_return != nullptr ? m_return(window, wParam, lParam, provider) : 0;
}

HRESULT Library::HostProvider(HWND window, IRawElementProviderSimple** host) const {
    return m_hostProvider != nullptr ? m_hostProvider(window, host) : E_NOTIMPL;
}

HRESULT Library::NotSupportedValue(IUnknown** value) const {
    return m_notSupported != nullptr ? m_notSupported(value) : E_NOTIMPL;
}

void Library::Raise(IRawElementProviderSimple* provider, EVENTID event) const {
    if (m_raise != nullptr) {
        m_raise(provider, event);
    }
}

void Library::Notify(IRawElementProviderSimple* provider, const std::wstring& sentence) const {
    if (m_notify == nullptr) {
        return;
    }
    const auto freed = [](BSTR text) { SysFreeString(text); };
    using Text = std::unique_ptr<OLECHAR, decltype(freed)>;
    const Text said(SysAllocStringLen(sentence.data(), static_cast<UINT>(sentence.size())), freed);
    const Text activity(SysAllocString(L"report"), freed);
    m_notify(provider, kItemAdded, kCurrentThenMostRecent, said.get(), activity.get());
}

void Library::Disconnect(IRawElementProviderSimple* provider) const {
    if (m_disconnect != nullptr) {
        m_disconnect(provider);
    }
}

} // namespace vnxtest::automation
