#include "vnetx/capture.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <system_error>
#include <thread>

#include "vnetx/failure.h"
#include "wrenlib/text.h"
#include "wrenlib/trace.h"

namespace vnxtest {
namespace {

// The capture library's result of an activation as an errno value. What it keeps to itself is left
// to the system's errno of that moment.
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
    std::unique_ptr<Capture> capture(new Capture(*api, handle));
    api->setSnapshotLength(handle, static_cast<int>(options.snapshotLength));
    api->setBufferSize(handle, static_cast<int>(options.bufferSize));
    api->setPromiscuous(handle, 1);
    api->setImmediateMode(handle, 1);
    // Immediate mode delivers at once; the time-out is for systems that only have that.
    api->setTimeout(handle, 1);
    if (options.onlyEtherType != 0) {
        api->restrictToType(handle, options.onlyEtherType);
    }
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
        // A driver that cannot tell directions shows own frames too; those are known by their source.
        api->setDirection(handle, kPcapDirectionIn);
    }
    if (!capture->SetFilter(options.filter)) {
        return nullptr;
    }
    if (api->setNonBlocking(handle, 1, errorText) != 0) {
        Fail(EIO);
        return nullptr;
    }
    return capture;
}

bool Capture::SetFilter(const std::string& filter) {
    const std::string text = m_api.inboundFilter + ("(" + filter + ")");
    PcapProgram program{};
    if (m_api.compile(m_handle, &program, text.c_str(), 1, kPcapNetMaskUnknown) != 0) {
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

int Capture::Send(const void* frame, std::uint32_t length) {
    if (m_api.send(m_handle, frame, length) == 0) {
        return 0;
    }
    // A full send queue empties itself; anything else is final.
    using Clock = std::chrono::steady_clock;
    for (const auto end = Clock::now() + std::chrono::milliseconds(100);
         (errno == EAGAIN || errno == ENOBUFS) && Clock::now() < end;) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        if (m_api.send(m_handle, frame, length) == 0) {
            return 0;
        }
    }
    return Fail(errno);
}

void CloseTogether(std::vector<std::unique_ptr<Capture>> captures) {
    std::vector<std::thread> threads;
    for (std::size_t at = 1; at < captures.size(); ++at) {
        try {
            threads.emplace_back([&one = captures[at]] { one.reset(); });
        } catch (const std::system_error&) {
            break; // no thread to be had: the rest is closed one after the other
        }
    }
    captures.front().reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace vnxtest
