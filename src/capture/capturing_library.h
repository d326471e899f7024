// A decorator of the interface library that captures what passes: every frame that the guest reads or writes,
// with what became of it.
//
// The engine does not know of it; the receive path and the ping test tell their verdicts to the watcher of
// core/frame_verdict.h, which this is while it captures. Without a capture a call costs one more branch.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "capture/frame_capture.h"
#include "core/frame_verdict.h"
#include "vnetx/forwarding_library.h"

namespace vnxtest {

// What a capture says of a host adapter.
struct CapturedAdapter {
    std::wstring description;
    std::optional<std::uint64_t> speed; // bits per second
};

class CapturingLibrary final : public ForwardingLibrary, private FrameWatcher {
public:
    // The adapter that Open() names. Called on a monitor thread.
    using AdapterLookup = std::function<CapturedAdapter(const std::wstring& name)>;

    // `inner` outlives this. No other object of this class exists.
    CapturingLibrary(VnetxLibrary& inner, AdapterLookup lookup);
    ~CapturingLibrary() override;

    // The next start of the guest is captured: from its first interface that opens until its last one is
    // closed. In the place of one that has not begun; null: none. Any thread.
    void CaptureNextStart(std::shared_ptr<FrameCapture> capture);

    std::int32_t Open(const char* name, std::int32_t flags) override;
    void Close(std::int32_t handle) override;
    std::int32_t Ioctl(std::int32_t handle, std::uint32_t request, void* record) override;
    std::int32_t Read(std::int32_t handle, void* buffer, std::uint32_t size) override;
    std::int32_t Write(std::int32_t handle, const void* frame, std::uint32_t length) override;

private:
    // An open interface that is captured.
    struct Port {
        std::atomic<std::int32_t> handle{-1};
        FrameCapture* capture = nullptr;
        pcapng::Interface block;
        std::wstring adapter;        // as Open() named it
        std::wstring guest;          // its address
        std::atomic<int> number{-1}; // in the capture; -1: the interface is not up yet
        QueuedFrame* read = nullptr; // the last one, until its verdict is told. The reader's
    };

    void JudgeRead(std::int32_t handle, const FrameVerdict& verdict) noexcept override;
    void AnnounceWrite(const FrameVerdict& verdict) noexcept override;

    Port* Find(std::int32_t handle);
    void Attach(std::int32_t handle, const char* name);
    void NoteRequest(Port& port, std::uint32_t request, const VnetxInterfaceRequest& record);
    void CloseRead(Port& port, const FrameVerdict& verdict);
    void EndPort(Port& port);

    const AdapterLookup m_lookup;
    std::array<Port, FrameQueue::kMostInterfaces> m_ports;
    std::atomic<bool> m_capturing{false};
    std::mutex m_lock; // guards what follows, and taking a port
    int m_open = 0;    // interfaces
    std::shared_ptr<FrameCapture> m_next;
    std::shared_ptr<FrameCapture> m_current; // kept until the next one: a late write may still use it
};

} // namespace vnxtest
