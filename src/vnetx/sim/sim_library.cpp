#include <cerrno>

#include "vnetx/failure.h"
#include "vnetx/records.h"
#include "vnetx/sim/sim.h"
#include "vnetx/sim/sim_gate.h"
#include "vnetx/sim/sim_interface.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

bool IsAdapterName(const char* name) {
    const std::wstring text = ToWide(name);
    return ParseIPAddress(text) == kSimAdapterIp || ParseMACAddress(text) == kSimAdapterMac;
}

// The adapter's own addresses, asked without an open handle.
std::int32_t QueryAdapter(std::uint32_t request, VnetxArpRequest& record) {
    if (request == VNETX_SIOCGARP && record.protocolFamily == VNETX_AF_INET &&
        Ipv4In(record) == kSimAdapterIp) {
        PutMac(record, kSimAdapterMac);
        return 0;
    }
    if (request == VNETX_SIOCGRARP && MacIn(record) == kSimAdapterMac) {
        PutIpv4(record, kSimAdapterIp);
        return 0;
    }
    return Fail(ENXIO);
}

} // namespace

SimLibrary::SimLibrary(const SimOptions& options)
    : BuiltinLibrary(L"built-in sim"), m_network(std::make_shared<SimNetwork>(options)),
      m_defaultInterface(ToNarrow(FormatMACAddr(kSimAdapterMac))) {}

std::int32_t SimLibrary::Open(const char* name, std::int32_t flags) {
    if (name && !IsAdapterName(name)) {
        return Fail(ENODEV);
    }
    return BuiltinLibrary::Open(name, flags);
}

std::int32_t SimLibrary::Ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    if (handle == -1 && record && (request == VNETX_SIOCGARP || request == VNETX_SIOCGRARP)) {
        return QueryAdapter(request, *static_cast<VnetxArpRequest*>(record));
    }
    return BuiltinLibrary::Ioctl(handle, request, record);
}

std::unique_ptr<ReaderGate> SimLibrary::MakeGate(bool socketNotify) {
    std::unique_ptr<NotifySocket> socket;
    if (socketNotify) {
        socket = NotifySocket::Create();
        if (!socket) {
            return nullptr;
        }
    }
    return std::make_unique<SimGate>(m_network->AddPort(), std::move(socket));
}

std::unique_ptr<VirtualInterface>
SimLibrary::MakeInterface(std::string_view, std::unique_ptr<ReaderGate> gate, bool socketNotify) {
    std::shared_ptr<SimPort> port = static_cast<SimGate&>(*gate).Port();
    return std::make_unique<SimInterface>(m_network, std::move(port), std::move(gate), socketNotify,
                                          DebugSink());
}

std::unique_ptr<SimLibrary> MakeSimLibrary(std::wstring_view options, std::wstring& error) {
    const auto parsed = ParseSimOptions(options, error);
    return parsed ? std::make_unique<SimLibrary>(*parsed) : nullptr;
}

} // namespace vnxtest
