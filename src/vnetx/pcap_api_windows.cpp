#include <cerrno>
#include <memory>
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

void RestrictToType(PcapHandle*, std::uint16_t) {} // the filter does it

int Send(PcapHandle* handle, const void* frame, std::uint32_t length) {
    SetLastError(0);
    if (g_sendPacket(handle, static_cast<const unsigned char*>(frame), static_cast<int>(length)) == 0) {
        return 0;
    }
    errno = GetLastError() == ERROR_ACCESS_DENIED ? EACCES : EIO;
    return -1;
}

WaitObject GetWaitObject(PcapHandle* handle) {
    return reinterpret_cast<WaitObject>(g_getEvent(handle));
}

// Npcap has a folder of its own below the system folder; older ones lie in the system folder itself.
std::vector<std::wstring> Places() {
    wchar_t folder[MAX_PATH] = {};
    const std::wstring system(folder, GetSystemDirectoryW(folder, MAX_PATH));
    return {system + L"\\Npcap\\wpcap.dll", system + L"\\wpcap.dll"};
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
        return Bind(m_api.create, "pcap_create") && Bind(m_api.setSnapshotLength, "pcap_set_snaplen") &&
               Bind(m_api.setPromiscuous, "pcap_set_promisc") && Bind(m_api.setTimeout, "pcap_set_timeout") &&
               Bind(m_api.setImmediateMode, "pcap_set_immediate_mode") &&
               Bind(m_api.setBufferSize, "pcap_set_buffer_size") && Bind(m_api.activate, "pcap_activate") &&
               Bind(m_api.close, "pcap_close") && Bind(m_api.dataLink, "pcap_datalink") &&
               Bind(m_api.compile, "pcap_compile") && Bind(m_api.setFilter, "pcap_setfilter") &&
               Bind(m_api.freeProgram, "pcap_freecode") && Bind(m_api.setNonBlocking, "pcap_setnonblock") &&
               Bind(m_api.dispatch, "pcap_dispatch") && Bind(m_api.errorText, "pcap_geterr") &&
               Bind(g_sendPacket, "pcap_sendpacket") && Bind(g_getEvent, "pcap_getevent");
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
