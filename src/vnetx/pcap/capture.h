// One open capture on one adapter, as an object: opened whole or not at all.
//
// One thread at a time takes frames; any number of threads may send at the same time. On Linux it is a
// packet socket whose receive ring is read in place, on Windows the capture library's.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vnetx/driver/reader_gate.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct CaptureOptions {
    // What comes in; never what this host sends.
    enum class Wanted {
        Guest,             // frames to `guest`, to groups, and to the all-zeroes address
        ArpReplies,        // of everybody
        ReverseArpReplies, // likewise
    };

    std::string device; // the adapter, as HostLink::captureName has it
    Wanted wanted = Wanted::Guest;
    MacAddress guest;
    Ipv4Address guestIp;
    std::uint32_t snapshotLength = 0; // bytes of a frame that are kept
    std::uint32_t bufferSize = 0;     // bytes of the kernel's buffer
    // Told why it was refused, in whole sentences, where the error alone does not say it.
    std::function<void(const std::string& why)> tell = [](const std::string&) {};
};

struct CapturedFrame {
    const std::uint8_t* bytes; // until the handler returns
    std::uint32_t captured;    // bytes that are there
    std::uint32_t length;      // bytes that were on the wire
};

using FrameHandler = void (*)(void* user, const CapturedFrame& frame);

class Capture {
public:
    // Null with errno set: ENODEV no such adapter, ENETDOWN it is down, EPERM or EACCES privilege,
    // EAFNOSUPPORT it is no Ethernet, ENOENT no capture library, ENOMEM buffer too large.
    static std::unique_ptr<Capture> Open(const CaptureOptions& options);
    virtual ~Capture() = default;
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // Hands at most `count` frames that are there to `handler`, without waiting; all of them when it is
    // negative. Their number, or -1.
    virtual int Dispatch(int count, FrameHandler handler, void* user) = 0;
    // Sends one frame: 0, or -1 with errno (EAGAIN, ENOBUFS: the send queue is full). Waits a moment for a
    // full queue, but not on a thread that reads, and not when `isPointless`, if given, says that the queue
    // will not empty itself. It is asked last when the queue stayed full.
    int Send(const void* frame, std::uint32_t length, const std::function<bool()>& isPointless = {});
    // Begins anew, for `guest` from now on; what came before is still to be taken. False with errno.
    virtual bool Restart(MacAddress guest) = 0;
    virtual WaitObject GetWaitObject() const = 0;
    // What has become of the adapter since the beginning: 0, ENETDOWN or ENODEV. Any thread.
    virtual int Error() { return 0; }
    // How many wanted frames the system has dropped since the start, for its buffer was full; nullopt if it
    // does not tell. Any thread.
    virtual std::optional<std::uint64_t> Dropped() = 0;

protected:
    Capture() = default;

private:
    // Sends one frame without waiting: 0, or -1 with errno.
    virtual int TrySend(const void* frame, std::uint32_t length) = 0;
};

// Closes all of them (null ones are none). Each waits for the kernel to be done with it, which takes as long
// for all at a time as for one.
void CloseTogether(std::vector<std::unique_ptr<Capture>> captures);

} // namespace vnxtest
