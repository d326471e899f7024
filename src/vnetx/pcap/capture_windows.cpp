#include <algorithm>
#include <cerrno>

#include "vnetx/failure.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/pcap/pcap_api.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"

namespace vnxtest {
namespace {

// The capture library's result of an activation as an errno value; for its general error, the errno of the
// moment.
int ErrnoOfActivation(int result, int systemErrno) {
    switch (result) {
    case kPcapErrorNoSuchDevice:
        return ENODEV;
    case kPcapErrorPermissionDenied:
    case kPcapErrorPromiscuousDenied:
        return systemErrno == EACCES ? EACCES : EPERM;
    case kPcapErrorInterfaceNotUp:
        return ENETDOWN;
    default:
        return systemErrno != 0 ? systemErrno : EIO;
    }
}

// In the filter language of pcap-filter(7).
std::string FilterText(CaptureOptions::Wanted wanted, MacAddress guest) {
    switch (wanted) {
    case CaptureOptions::Wanted::ArpReplies:
        return "arp";
    case CaptureOptions::Wanted::ReverseArpReplies:
        return "rarp";
    case CaptureOptions::Wanted::Guest:
        break;
    }
    std::string mac = ToNarrow(FormatMACAddr(guest));
    std::replace(mac.begin(), mac.end(), '-', ':');
    return "ether dst " + mac + " or ether multicast or ether dst 00:00:00:00:00:00";
}

class PcapCapture final : public Capture {
public:
    PcapCapture(const PcapApi& api, PcapHandle* handle) : m_api(api), m_handle(handle) {}
    ~PcapCapture() override { m_api.close(m_handle); }

    int Dispatch(int count, FrameHandler handler, void* user) override {
        Receiver receiver{handler, user};
        const auto hand = [](unsigned char* to, const PcapPacketHeader* header, const unsigned char* bytes) {
            const auto& [function, itsUser] = *reinterpret_cast<Receiver*>(to);
            function(itsUser, {bytes, header->captured, header->length});
        };
        return m_api.dispatch(m_handle, count, hand, reinterpret_cast<unsigned char*>(&receiver));
    }

    bool Restart(MacAddress guest) override { return SetFilter(CaptureOptions::Wanted::Guest, guest); }

    bool SetFilter(CaptureOptions::Wanted wanted, MacAddress guest) {
        PcapProgram program{};
        if (m_api.compile(m_handle, &program, FilterText(wanted, guest).c_str(), 1, kPcapNetMaskUnknown) !=
            0) {
            Fail(EINVAL);
            return false;
        }
        const int result = m_api.setFilter(m_handle, &program);
        m_api.freeProgram(&program);
        if (result != 0) {
            Fail(EINVAL);
            return false;
        }
        return true;
    }

    WaitObject GetWaitObject() const override { return m_api.waitObject(m_handle); }

    std::optional<std::uint64_t> Dropped() override {
        PcapStatistics counts{};
        if (!m_api.statistics || m_api.statistics(m_handle, &counts) != 0) {
            return std::nullopt;
        }
        return counts.dropped;
    }

private:
    struct Receiver {
        FrameHandler handler;
        void* user;
    };

    int TrySend(const void* frame, std::uint32_t length) override {
        return m_api.send(m_handle, frame, length);
    }

    const PcapApi& m_api;
    PcapHandle* const m_handle;
};

} // namespace

std::unique_ptr<Capture> Capture::Open(const CaptureOptions& options) {
    const PcapApi* api = LoadPcapApi();
    if (!api) {
        return nullptr;
    }
    char errorText[kPcapErrorBufferSize] = "";
    PcapHandle* handle = api->create(options.device.c_str(), errorText);
    if (!handle) {
        Fail(ENOMEM);
        return nullptr;
    }
    auto capture = std::make_unique<PcapCapture>(*api, handle);
    api->setSnapshotLength(handle, static_cast<int>(options.snapshotLength));
    api->setBufferSize(handle, static_cast<int>(options.bufferSize));
    api->setPromiscuous(handle, 1);
    api->setImmediateMode(handle, 1);
    // For drivers without immediate mode, which deliver after this time-out.
    api->setTimeout(handle, 1);
    errno = 0;
    const int result = api->activate(handle);
    if (result < 0) {
        const int code = ErrnoOfActivation(result, errno);
        WrenLibAfxTrace(L"capture on %s: %s\n", ToWide(options.device), ToWide(api->errorText(handle)));
        Fail(code);
        return nullptr;
    }
    if (api->dataLink(handle) != kPcapLinkTypeEthernet) {
        Fail(EAFNOSUPPORT);
        return nullptr;
    }
    if (api->setDirection) {
        // A driver that cannot tell directions delivers own frames, too; the driver above drops those by
        // their source.
        api->setDirection(handle, kPcapDirectionIn);
    }
    if (!capture->SetFilter(options.wanted, options.guest)) {
        return nullptr;
    }
    if (api->setNonBlocking(handle, 1, errorText) != 0) {
        Fail(EIO);
        return nullptr;
    }
    return capture;
}

} // namespace vnxtest
