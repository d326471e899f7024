#include "core/monitor_thread.h"

#include <cerrno>
#include <vector>

#include "core/interface_lifecycle.h"
#include "platform/network/socket_wait.h"
#include "platform/process/thread.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {

constexpr std::uint32_t kReadSize = 65535;

// The buffer of one monitor thread. The headroom in front lets a TUN packet be answered in place;
// two more bytes put the IP header of a TAP frame on a four-byte boundary.
class FrameBuffer {
public:
    FrameBuffer() : m_bytes(kFront + kReadSize) {}

    std::uint8_t* ReadArea() { return m_bytes.data() + kFront; }
    ReceivedPacket Packet(std::size_t length) {
        return ReceivedPacket(std::span(m_bytes).subspan(kFront - ReceivedPacket::kHeadroom,
                                                         ReceivedPacket::kHeadroom + length));
    }

private:
    static constexpr std::size_t kFront = 18;
    std::vector<std::uint8_t> m_bytes;
};

// Reads one frame and hands it on. Returns what the library returned.
std::int32_t ReadAndHandle(const MonitorContext& context, std::int32_t handle, FrameBuffer& buffer) {
    const std::int32_t length = context.library.Read(handle, buffer.ReadArea(), kReadSize);
    if (length > 0) {
        // A length beyond the buffer is a fault of the library: the frame is dropped.
        if (Verify(static_cast<std::uint32_t>(length) <= kReadSize)) {
            context.handler.HandleReceivedPacket(context.info,
                                                 buffer.Packet(static_cast<std::size_t>(length)));
        }
    }
    return length;
}

// Both loops return true if they were told to stop, false if a read failed.
bool ReadUntilStopped(const MonitorContext& context, std::int32_t handle, FrameBuffer& buffer) {
    while (!context.stopEvent.IsSet()) {
        if (ReadAndHandle(context, handle, buffer) < 0) {
            return false;
        }
    }
    return true;
}

bool ReadWhenNotified(const MonitorContext& context, std::int32_t handle, FrameBuffer& buffer) {
    while (!context.stopEvent.IsSet()) {
        // A failed wait is followed by a read all the same: with a bad handle the read fails, and the loop
        // does not spin.
        if (!WaitUntilReadable(handle) && context.stopEvent.IsSet()) {
            break;
        }
        std::int32_t length = 0;
        do {
            length = ReadAndHandle(context, handle, buffer);
        } while (length > 0);
        if (length < 0) {
            return false;
        }
    }
    return true;
}

} // namespace

void MonitorThread(MonitorContext context) {
    Verify(RaiseThreadPriority());
    const TimerResolution resolution;
    SavedErrorsOfThread() = {};
    SetLastError(0);
    errno = 0;

    INTERFACE_INFO& info = context.info;
    const std::int32_t handle = CreateInterface(info, context.library, context.settings);
    if (handle >= 0) {
        context.view.PostViewMessage(ViewMessage::InterfaceOpened);
        FrameBuffer buffer;
        const bool stopped = context.settings.socketNotifyMode ? ReadWhenNotified(context, handle, buffer)
                                                               : ReadUntilStopped(context, handle, buffer);
        if (!stopped) {
            const SavedErrors& saved = SaveErrors();
            LogMsg(L"*** MonitorThread: interface %s vnetx32_read failed; errno=%d: %s\n", info.open.Name(),
                   saved.errnoValue, StrError(saved.errnoValue));
        }
        ReportStatisticsAndClose(info, context.library);
    }
    RestoreSavedErrors();
}

} // namespace vnxtest
