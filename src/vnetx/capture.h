// One open capture on one adapter, as an object: opened whole or not at all.
//
// One thread at a time takes frames; any number of threads may send at the same time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vnetx/pcap_api.h"

namespace vnxtest {

struct CaptureOptions {
    std::string device;               // as libpcap names it
    std::uint32_t snapshotLength = 0; // bytes of a frame that are kept
    std::uint32_t bufferSize = 0;     // bytes of the kernel's buffer
    std::string filter;               // in libpcap's language; only what comes in is captured
    std::uint16_t onlyEtherType = 0;  // not 0: the system may leave all other types out beforehand
};

class Capture {
public:
    // Null with errno set: ENODEV no such adapter, ENETDOWN it is down, EPERM or EACCES privilege,
    // EAFNOSUPPORT it is no Ethernet, ENOENT no capture library, ENOMEM buffer too large.
    static std::unique_ptr<Capture> Open(const CaptureOptions& options);
    ~Capture() { m_api.close(m_handle); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // Hands at most `count` frames that are there to `handler`, without waiting. Their number, or -1.
    int Dispatch(int count, PcapPacketHandler handler, void* user) {
        return m_api.dispatch(m_handle, count, handler, static_cast<unsigned char*>(user));
    }
    // Sends one frame: 0, or -1 with errno. Waits a moment for a full send queue.
    int Send(const void* frame, std::uint32_t length);
    // Replaces the filter. False with errno EINVAL when the text is wrong.
    bool SetFilter(const std::string& filter);
    WaitObject GetWaitObject() const { return m_api.waitObject(m_handle); }

private:
    Capture(const PcapApi& api, PcapHandle* handle) : m_api(api), m_handle(handle) {}

    const PcapApi& m_api;
    PcapHandle* const m_handle;
};

// Closes all of them (null ones are none). Each waits for the kernel to be done with it, which takes as long
// for all at a time as for one.
void CloseTogether(std::vector<std::unique_ptr<Capture>> captures);

} // namespace vnxtest
