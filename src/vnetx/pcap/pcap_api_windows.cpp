#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <windows.h>

#include "vnetx/failure.h"
#include "vnetx/pcap/pcap_api.h"
#include "wrenlib/shared_object.h"
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

int Send(PcapHandle* handle, const void* frame, std::uint32_t length) {
    SetLastError(0);
    if (g_sendPacket(handle, static_cast<const unsigned char*>(frame), static_cast<int>(length)) == 0) {
        return 0;
    }
    errno = GetLastError() == ERROR_ACCESS_DENIED ? EACCES : EIO;
    return -1;
}

// For captures whose driver gives no event to wait for (Wine's does not): one timer each, after which the
// driver is polled, every millisecond.
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

// Wine's capture library exports names that it has no function for: calling one ends the program.
bool IsWine() {
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    return module != nullptr && GetProcAddress(module, "wine_get_version") != nullptr;
}

class Binding {
public:
    Binding() {
        std::wstring problem;
        if (auto library = LoadPacketDriverLibrary(L"wpcap.dll")) {
            m_library = std::move(*library);
            BindAll(problem);
        } else {
            problem = library.error().Describe();
        }
        m_complete = m_library != nullptr && problem.empty();
        if (!m_complete) {
            WrenLibAfxTrace(L"wpcap.dll cannot be used: %s\n", problem);
        }
    }

    const PcapApi* Api() const { return m_complete ? &m_api : nullptr; }

private:
    // Gathers the names of what the library lacks and this program needs.
    void BindAll(std::wstring& missing) {
        std::wstring unneeded;
        const auto mayBind = [&](auto& function, const char* name) {
            return m_library->Bind(function, name, unneeded);
        };
        const auto bind = [&](auto& function, const char* name) {
            return m_library->Bind(function, name, missing);
        };
        mayBind(m_api.setDirection, "pcap_setdirection"); // older drivers have none
        m_api.send = Send;
        m_api.waitObject = GetWaitObject;
        m_api.close = Close;
        if (!IsWine()) {
            mayBind(g_setMinimumToCopy, "pcap_setmintocopy");
            mayBind(g_getEvent, "pcap_getevent");
            mayBind(m_api.statistics, "pcap_stats");
        }
        if (mayBind(m_api.setImmediateMode, "pcap_set_immediate_mode")) {
            bind(m_api.activate, "pcap_activate");
        } else if (bind(g_activate, "pcap_activate")) {
            m_api.setImmediateMode = SetNoImmediateMode;
            m_api.activate = ActivateImmediately;
        }
        bind(m_api.create, "pcap_create");
        bind(m_api.setSnapshotLength, "pcap_set_snaplen");
        bind(m_api.setPromiscuous, "pcap_set_promisc");
        bind(m_api.setTimeout, "pcap_set_timeout");
        bind(m_api.setBufferSize, "pcap_set_buffer_size");
        bind(g_close, "pcap_close");
        bind(m_api.dataLink, "pcap_datalink");
        bind(m_api.compile, "pcap_compile");
        bind(m_api.setFilter, "pcap_setfilter");
        bind(m_api.freeProgram, "pcap_freecode");
        bind(m_api.setNonBlocking, "pcap_setnonblock");
        bind(m_api.dispatch, "pcap_dispatch");
        bind(m_api.errorText, "pcap_geterr");
        bind(g_sendPacket, "pcap_sendpacket");
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
