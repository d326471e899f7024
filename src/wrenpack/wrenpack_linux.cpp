// The host adapter library of Linux, part of the program: rtnetlink and ethtool for the list,
// packet sockets for opening an adapter.
#include "wrenpack/wrenpack.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <pcap/pcap.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/utsname.h>

#include "open/ask_helper.h"
#include "open/slow_close.h"
#include "wrenlib/descriptor_linux.h"
#include "wrenlib/errors.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_list_linux.h"

namespace vnxtest {

namespace {

// A handle is the descriptor of a packet socket plus one, so that none is null.
AdapterHandle ToHandle(int descriptor) {
    return reinterpret_cast<AdapterHandle>(std::intptr_t{descriptor} + 1);
}
int ToDescriptor(AdapterHandle handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle) - 1);
}

// Each adapter takes a descriptor while it is open, and a shell usually allows 1,024.
void AllowDescriptors(std::size_t adapters) {
    constexpr std::size_t kOthers = 64;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < adapters + kOthers) {
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, adapters + kOthers);
        setrlimit(RLIMIT_NOFILE, &limit); // refused: opening fails from some adapter on, and tells
    }
}

// Binds to the adapter for all protocols, as a capture does. 0, or an errno value.
int BindForCapture(int descriptor, std::uint32_t index) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(index);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return errno;
    }
    // The kernel also binds to a link that is down, and reports that as the socket's error.
    int fault = 0;
    socklen_t length = sizeof fault;
    return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &fault, &length) == 0 ? fault : errno;
}

// By the helper, as a guest of this user would be opened.
Result<AdapterHandle> OpenByHelper(const std::string& interfaceName) {
    OpenRequest request;
    request.kind = OpenKind::ArpSocket;
    request.adapter = ToAdapterName(interfaceName);
    return AskHelper(request).map([](Descriptor&& descriptor) { return ToHandle(descriptor.Release()); });
}

class LinuxWrenPack final : public WrenPackLibrary {
public:
    ~LinuxWrenPack() override { CloseAdapters({}); }

    Result<std::vector<HostAdapter>> ListAdapters() override {
        auto adapters = ReadAdapters();
        if (!adapters || adapters->empty()) {
            return FailedCall(kAdapterListSizeQuery, adapters ? ENODEV : adapters.error().lastError);
        }
        AllowDescriptors(adapters->size());
        return adapters;
    }

    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        const std::string interfaceName = ToNarrow(IdentifierOf(adapter.driverName));
        if (interfaceName.empty()) {
            return FailedCall(L"socket", ENODEV);
        }
        // As for a capture, but without a ring. Protocol 0 until it is bound, so that no frames of other
        // interfaces come in meanwhile.
        if (!m_unbound) {
            m_unbound = Descriptor(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
        }
        if (!m_unbound) {
            if (errno == EPERM) {
                return OpenByHelper(interfaceName);
            }
            return FailedCall(L"socket");
        }
        if (const int code = BindForCapture(m_unbound.Get(), adapter.index)) {
            return FailedCall(L"bind", static_cast<std::uint32_t>(code));
        }
        return ToHandle(m_unbound.Release());
    }

    void CloseAdapter(AdapterHandle handle) override { slow_close::Begin({ToDescriptor(handle)}); }

    void CloseAdapters(const std::vector<AdapterHandle>& handles) override {
        std::vector<int> descriptors;
        std::ranges::transform(handles, std::back_inserter(descriptors), ToDescriptor);
        if (m_unbound) {
            descriptors.push_back(m_unbound.Release());
        }
        slow_close::Begin(std::move(descriptors));
    }

    ModuleDescription DescribeModule() const override {
        ModuleDescription module;
        module.name = L"WrenPack";
        module.version = kWideVersion;
        module.detail = L"built into this program; adapters from rtnetlink and ethtool";
        return module;
    }

    PacketDriverDescription DescribePacketDriver() const override {
        PacketDriverDescription driver;
        driver.usable = true;
        driver.name = L"interface of libpcap";
        // "libpcap version 1.10.3 (with TPACKET_V3)"
        constexpr std::wstring_view kBefore = L"libpcap version ";
        std::wstring text = ToWide(pcap_lib_version());
        if (text.starts_with(kBefore)) {
            text.erase(0, kBefore.size());
        }
        const std::size_t bracket = text.find(L" (");
        driver.version = text.substr(0, bracket);
        if (bracket != std::wstring::npos && text.back() == L')') {
            driver.detail = text.substr(bracket + 2, text.size() - bracket - 3);
        }
        utsname system{};
        if (uname(&system) == 0) {
            driver.driverVersion = ToWide(system.sysname) + L" " + ToWide(system.release);
        }
        return driver;
    }

private:
    // The one that could not be bound last, for the next adapter: closing one waits for the kernel.
    Descriptor m_unbound;
};

} // namespace

std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary() {
    return std::make_unique<LinuxWrenPack>();
}

} // namespace vnxtest
