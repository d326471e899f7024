// One open capture on one adapter, as an object: opened whole or not at all.
//
// One thread at a time takes frames; any number may send meanwhile. On Linux it is a packet socket whose
// receive ring is read in place, on Windows a capture of Npcap's library.
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
    // Incoming frames only, none that this host sends.
    enum class Wanted {
        Guest,             // frames to `guest`, to groups, and to the all-zeroes address
        ArpReplies,        // from any station
        ReverseArpReplies, // likewise
    };

    std::string device; // the adapter, as HostLink::captureName has it
    Wanted wanted = Wanted::Guest;
    MacAddress guest;
    Ipv4Address guestIp;
    std::uint32_t snapshotLength = 0; // bytes of a frame that are kept
    std::uint32_t bufferSize = 0;     // bytes of the kernel's buffer
    // Called with the reason of a refusal, in whole sentences, if errno alone does not tell it.
    std::function<void(const std::string& why)> tell = [](const std::string&) {};
};

struct CapturedFrame {
    const std::uint8_t* bytes;      // until the handler returns
    std::uint32_t captured;         // bytes that are kept
    std::uint32_t length;           // bytes on the wire
    std::int64_t arrivedUnixNs = 0; // the kernel's stamp, nanoseconds since 1970; 0: none
};

using FrameHandler = void (*)(void* user, const CapturedFrame& frame);

class Capture {
public:
    // Null with errno set: ENODEV no such adapter, ENETDOWN it is down, EPERM or EACCES not allowed or
    // refused by the helper, EAFNOSUPPORT it is no Ethernet, ENOENT no capture library, ENOMEM buffer too
    // large.
    static std::unique_ptr<Capture> Open(const CaptureOptions& options);
    virtual ~Capture() = default;
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // Hands at most `count` frames (negative: all) to `handler`, without waiting. Their number, or -1.
    virtual int Dispatch(int count, FrameHandler handler, void* user) = 0;
    // Sends one frame: 0, or -1 with errno (EAGAIN, ENOBUFS: the send queue is full). Waits up to 100 ms
    // for a full queue, but not on a reading thread, and not if `isPointless` (may be empty) says that the
    // queue will not drain. It is asked once more at the end if the queue stayed full. Any thread.
    int Send(const void* frame, std::uint32_t length, const std::function<bool()>& isPointless = {});
    // Captures for `guest` from now on and clears Error(); earlier frames are still to be taken. False with
    // errno.
    virtual bool Restart(MacAddress guest) = 0;
    virtual WaitObject GetWaitObject() const = 0;
    // The adapter's error since the start: 0, ENETDOWN or ENODEV. Any thread.
    virtual int Error() { return 0; }
    // How many wanted frames the system has dropped since the start because its buffer was full; nullopt if
    // it does not tell. Any thread.
    virtual std::optional<std::uint64_t> Dropped() = 0;

protected:
    Capture() = default;

private:
    // Sends one frame without waiting: 0, or -1 with errno.
    virtual int TrySend(const void* frame, std::uint32_t length) = 0;
};

// Closes all of them side by side, each on a thread of its own, and joins these: closing one waits for the
// kernel. Null ones are skipped; `captures` must not be empty.
void CloseTogether(std::vector<std::unique_ptr<Capture>> captures);

} // namespace vnxtest
