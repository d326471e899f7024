// The host adapter library of Linux, part of the program: rtnetlink and ethtool for the list,
// packet sockets for opening an adapter.
#include "wrenpack/wrenpack.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <pcap/pcap.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "open/ask_helper.h"
#include "wrenlib/errors.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"
#include "wrenpack/adapter_list_linux.h"

namespace vnxtest {

namespace {

// Closing a packet socket waits some milliseconds for the kernel; sockets closed at the same time share
// that wait.
constexpr std::size_t kClosingThreads = 32;

// A handle is the descriptor of a packet socket plus one, so that none is null.
AdapterHandle ToHandle(int descriptor) {
    return reinterpret_cast<AdapterHandle>(std::intptr_t{descriptor} + 1);
}
int ToDescriptor(AdapterHandle handle) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle) - 1);
}

// Binds to the interface for all protocols, as a capture does. 0, or an errno value.
int BindForCapture(int descriptor, const std::string& interfaceName) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(if_nametoindex(interfaceName.c_str()));
    if (address.sll_ifindex == 0) {
        return ENODEV;
    }
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
    Result<std::vector<HostAdapter>> ListAdapters() override {
        auto adapters = ReadAdapters();
        if (!adapters || adapters->empty()) {
            return FailedCall(kAdapterListSizeQuery, adapters ? ENODEV : adapters.error().lastError);
        }
        return adapters;
    }

    Result<AdapterHandle> OpenAdapter(const HostAdapter& adapter) override {
        const std::string interfaceName = ToNarrow(IdentifierOf(adapter.driverName));
        if (interfaceName.empty()) {
            return FailedCall(L"socket", ENODEV);
        }
        // As for a capture, but without a ring. Protocol 0 until it is bound, so that no frames of other
        // interfaces come in meanwhile.
        const int descriptor = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
        if (descriptor < 0) {
            if (errno == EPERM) {
                return OpenByHelper(interfaceName);
            }
            return FailedCall(L"socket");
        }
        if (const int code = BindForCapture(descriptor, interfaceName)) {
            close(descriptor);
            return FailedCall(L"bind", static_cast<std::uint32_t>(code));
        }
        return ToHandle(descriptor);
    }

    void CloseAdapter(AdapterHandle handle) override { close(ToDescriptor(handle)); }

    void CloseAdapters(const std::vector<AdapterHandle>& handles) override {
        const std::size_t count = std::min(kClosingThreads, handles.size());
        const auto closeShare = [&handles, count](std::size_t first) {
            for (std::size_t i = first; i < handles.size(); i += count) {
                close(ToDescriptor(handles[i]));
            }
        };
        std::vector<std::jthread> threads;
        threads.reserve(count);
        for (std::size_t first = 0; first < count; ++first) {
            try {
                threads.emplace_back(closeShare, first);
            } catch (const std::system_error&) {
                closeShare(first); // no thread to be had: closed here
            }
        }
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
};

} // namespace

std::unique_ptr<WrenPackLibrary> MakeWrenPackLibrary() {
    return std::make_unique<LinuxWrenPack>();
}

} // namespace vnxtest
