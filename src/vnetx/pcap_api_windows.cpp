#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <windows.h>

#include "vnetx/failure.h"
#include "vnetx/pcap_api.h"
#include "vnetx/shared_object.h"
#include "wrenlib/trace.h"

namespace vnxtest {
namespace {

using SendPacketFunction = int (*)(PcapHandle*, const unsigned char*, int);
using GetEventFunction = HANDLE (*)(PcapHandle*);
SendPacketFunction g_sendPacket = nullptr;
GetEventFunction g_getEvent = nullptr;

// Of the drivers before Npcap, which know no immediate mode: the number of bytes to wait for.
int (*g_setMinimumToCopy)(PcapHandle*, int) = nullptr;
int (*g_activate)(PcapHandle*) = nullptr;
void (*g_close)(PcapHandle*) = nullptr;

int SetNoImmediateMode(PcapHandle*, int) {
    return 0; // once it is active
}

int ActivateImmediately(PcapHandle* handle) {
    const int result = g_activate(handle);
    if (result >= 0 && g_setMinimumToCopy != nullptr) {
        g_setMinimumToCopy(handle, 0);
    }
    return result;
}

void RestrictToType(PcapHandle*, std::uint16_t) {} // the filter does it

int Send(PcapHandle* handle, const void* frame, std::uint32_t length) {
    SetLastError(0);
    if (g_sendPacket(handle, static_cast<const unsigned char*>(frame), static_cast<int>(length)) == 0) {
        return 0;
    }
    errno = GetLastError() == ERROR_ACCESS_DENIED ? EACCES : EIO;
    return -1;
}

// Captures whose driver gives no event to wait for (Wine's does not): a timer each, by which the driver is
// asked for frames every millisecond.
class Timers {
public:
    HANDLE For(PcapHandle* capture) {
        const std::lock_guard lock(m_lock);
        Timer& timer = m_timers[capture];
        if (timer == nullptr) {
            constexpr LONG kPeriod = 1; // milliseconds
            LARGE_INTEGER now{};
            timer.reset(CreateWaitableTimerW(nullptr, FALSE, nullptr));
            if (timer != nullptr) {
                SetWaitableTimer(timer.get(), &now, kPeriod, nullptr, nullptr, FALSE);
            }
            WrenLibAfxTrace(L"the packet driver gives no event: it is asked every millisecond\n");
        }
        return timer.get();
    }

    void Forget(PcapHandle* capture) {
        const std::lock_guard lock(m_lock);
        m_timers.erase(capture);
    }

private:
    struct Closer {
        void operator()(HANDLE timer) const { CloseHandle(timer); }
    };
    using Timer = std::unique_ptr<void, Closer>;

    std::mutex m_lock;
    std::map<PcapHandle*, Timer> m_timers;
};

Timers& OwnTimers() {
    static Timers timers;
    return timers;
}

WaitObject GetWaitObject(PcapHandle* handle) {
    HANDLE event = g_getEvent != nullptr ? g_getEvent(handle) : nullptr;
    if (event == nullptr || event == INVALID_HANDLE_VALUE) {
        event = OwnTimers().For(handle);
    }
    return reinterpret_cast<WaitObject>(event);
}

void Close(PcapHandle* handle) {
    OwnTimers().Forget(handle);
    g_close(handle);
}

// Npcap has a folder of its own below the system folder; older ones lie in the system folder itself.
std::vector<std::wstring> Places() {
    wchar_t folder[MAX_PATH] = {};
    const std::wstring system(folder, GetSystemDirectoryW(folder, MAX_PATH));
    return {system + L"\\Npcap\\wpcap.dll", system + L"\\wpcap.dll"};
}

// Wine's capture library exports names that it has no function for: calling one ends the program.
bool IsWine() {
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    return module != nullptr && GetProcAddress(module, "wine_get_version") != nullptr;
}

class Binding {
public:
    Binding() {
        for (const std::wstring& path : Places()) {
            std::wstring error;
            m_library = SharedObject::Load(path, error);
            if (m_library) {
                m_complete = BindAll();
                return;
            }
            WrenLibAfxTrace(L"%s: %s\n", path, error);
        }
    }

    const PcapApi* Api() const { return m_complete ? &m_api : nullptr; }

private:
    template <typename Function>
    bool Bind(Function& function, const char* name) {
        function = reinterpret_cast<Function>(m_library->Find(name));
        return function != nullptr;
    }

    bool BindAll() {
        Bind(m_api.setDirection, "pcap_setdirection"); // older drivers have none
        m_api.restrictToType = RestrictToType;
        m_api.send = Send;
        m_api.waitObject = GetWaitObject;
        m_api.inboundFilter = "";
        m_api.close = Close;
        if (!IsWine()) {
            Bind(g_setMinimumToCopy, "pcap_setmintocopy");
            Bind(g_getEvent, "pcap_getevent");
        }
        if (Bind(m_api.setImmediateMode, "pcap_set_immediate_mode")) {
            Bind(m_api.activate, "pcap_activate");
        } else if (Bind(g_activate, "pcap_activate")) {
            m_api.setImmediateMode = SetNoImmediateMode;
            m_api.activate = ActivateImmediately;
        }
        return m_api.activate != nullptr && Bind(m_api.create, "pcap_create") &&
               Bind(m_api.setSnapshotLength, "pcap_set_snaplen") &&
               Bind(m_api.setPromiscuous, "pcap_set_promisc") && Bind(m_api.setTimeout, "pcap_set_timeout") &&
               Bind(m_api.setBufferSize, "pcap_set_buffer_size") && Bind(g_close, "pcap_close") &&
               Bind(m_api.dataLink, "pcap_datalink") && Bind(m_api.compile, "pcap_compile") &&
               Bind(m_api.setFilter, "pcap_setfilter") && Bind(m_api.freeProgram, "pcap_freecode") &&
               Bind(m_api.setNonBlocking, "pcap_setnonblock") && Bind(m_api.dispatch, "pcap_dispatch") &&
               Bind(m_api.errorText, "pcap_geterr") && Bind(g_sendPacket, "pcap_sendpacket");
    }

    std::unique_ptr<SharedObject> m_library;
    PcapApi m_api{};
    bool m_complete = false;
};

} // namespace

const PcapApi* LoadPcapApi() {
    static const Binding binding;
    if (!binding.Api()) {
        Fail(ENOENT);
    }
    return binding.Api();
}

} // namespace vnxtest
