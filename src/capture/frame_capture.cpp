#include "capture/frame_capture.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <vector>

#include "capture/verdict_text.h"
#include "platform/process/thread.h"
#include "platform/system/system_identity.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// How long frames are gathered for one write, and how much is written at once.
constexpr std::chrono::milliseconds kGatherTime(10);
constexpr std::size_t kPiece = std::size_t{256} * 1024;

struct InterfaceEnd {
    pcapng::Interface block{};
    std::uint64_t started = 0;
    std::uint64_t ended = 0; // 0: it has not
    std::optional<std::uint64_t> received{};
    std::optional<std::uint64_t> dropped{};
};

} // namespace

std::uint64_t CaptureTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

struct FrameCapture::State {
    State(BlockFile to, std::function<void()> atEnd, std::size_t queueSize)
        : file(std::move(to)), queue(queueSize), isOrdinary(file.IsOrdinary()), onEnd(std::move(atEnd)) {
        pcapng::AppendSection(blocks, ToUtf8(GetSystemIdentity().productName), kProductAndVersion);
    }

    BlockFile file; // the writer's
    FrameQueue queue;
    const bool isOrdinary;
    std::atomic<bool> failed{false};
    std::atomic<std::uint64_t> written{0};
    mutable std::mutex lock; // guards what follows
    mutable std::condition_variable changed;
    std::function<void()> onEnd;
    std::vector<InterfaceEnd> interfaces;
    std::wstring problem;
    bool hasBegun = false;
    bool isOver = false;

    // The writer's own.
    pcapng::Bytes blocks;         // made and not yet written
    std::vector<bool> isEthernet; // of the interfaces whose blocks are made
    std::array<std::uint64_t, FrameQueue::kMostInterfaces> delivered{};

    void Run();
    void Write();
    void Flush();
    void AddInterfaces();
    void AddFrame(const QueuedFrame& frame);
    void AddStatistics();
    void Finish(const Result<void>& result);
};

void FrameCapture::State::Run() {
    try {
        Write();
    } catch (const std::bad_alloc&) {
        Finish(Refused(L"There is not enough memory to write."));
    }
}

void FrameCapture::State::Write() {
    if (const auto begun = file.Begin(); !begun) {
        return Finish(begun);
    }
    Flush(); // the section's block, for a reader that waits for it
    while (!failed) {
        const bool ended = queue.Wait(kGatherTime);
        while (const QueuedFrame* const frame = queue.Front()) {
            AddFrame(*frame);
            queue.Pop();
            if (blocks.size() >= kPiece) {
                Flush();
            }
        }
        if (ended && queue.IsEmpty()) {
            AddStatistics();
            Flush();
            break;
        }
        Flush();
    }
    if (!failed) {
        Finish(file.Close());
    }
}

void FrameCapture::State::Flush() {
    if (failed || blocks.empty()) {
        blocks.clear();
        return;
    }
    const auto appended = file.Append(blocks);
    const auto whole = pcapng::FindWholeBlocks(blocks, file.Written());
    written.fetch_add(whole.packets, std::memory_order_relaxed);
    blocks.clear();
    if (!appended) {
        const auto cut = file.CutBack(file.Written() - whole.size);
        Finish(appended);
    }
}

void FrameCapture::State::AddInterfaces() {
    const std::lock_guard guard(lock);
    while (isEthernet.size() < interfaces.size()) {
        const pcapng::Interface& next = interfaces[isEthernet.size()].block;
        pcapng::AppendInterface(blocks, next);
        isEthernet.push_back(next.link == pcapng::LinkType::Ethernet);
    }
}

void FrameCapture::State::AddFrame(const QueuedFrame& frame) {
    if (frame.interface >= isEthernet.size()) {
        AddInterfaces();
    }
    std::array<char, kVerdictRoom> room;
    pcapng::AppendPacket(blocks, {.interface = frame.interface,
                                  .time = frame.time,
                                  .length = frame.length,
                                  .bytes = frame.Bytes(),
                                  .direction = frame.direction,
                                  .dropped = frame.dropped,
                                  .comment = DescribeVerdict(frame, isEthernet[frame.interface], room)});
    ++delivered[frame.interface];
}

void FrameCapture::State::AddStatistics() {
    AddInterfaces();
    const std::lock_guard guard(lock);
    const std::uint64_t now = CaptureTime();
    for (std::size_t index = 0; index < interfaces.size(); ++index) {
        const InterfaceEnd& end = interfaces[index];
        pcapng::AppendStatistics(blocks, {.interface = static_cast<std::uint32_t>(index),
                                          .time = now,
                                          .started = end.started,
                                          .ended = end.ended != 0 ? end.ended : now,
                                          .received = end.received,
                                          .droppedByInterface = end.dropped,
                                          .droppedByCapture = queue.Dropped(index),
                                          .delivered = delivered[index]});
    }
}

void FrameCapture::State::Finish(const Result<void>& result) {
    const std::lock_guard guard(lock);
    if (!result) {
        failed = true;
        file = BlockFile(); // the reader of a pipe need not wait for the end of the program
        problem = Sprintf(
            L"The capture has ended before its time: %s\nUp to there it is whole, %u frames. The guest goes on. Choose another place, with more room, for the next capture.",
            result.error().Describe(), written.load());
    }
    isOver = true;
    changed.notify_all();
    if (onEnd) {
        onEnd();
    }
}

FrameCapture::FrameCapture(BlockFile file, std::function<void()> onEnd, std::size_t queueSize)
    : m_state(std::make_shared<State>(std::move(file), std::move(onEnd), queueSize)) {}

FrameCapture::~FrameCapture() {
    bool mayStayForEver = false;
    {
        const std::lock_guard guard(m_state->lock);
        m_state->onEnd = nullptr;
        mayStayForEver = !m_state->isOver && !m_state->isOrdinary;
    }
    m_state->queue.End();
    if (!m_thread.joinable()) {
        return;
    }
    if (mayStayForEver) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void FrameCapture::Begin() {
    {
        const std::lock_guard guard(m_state->lock);
        m_state->hasBegun = true;
    }
    try {
        const StopSignalsHeldBack held; // they belong to the stop-signal watcher
        m_thread = std::thread([state = m_state] { state->Run(); });
    } catch (const std::system_error& error) {
        m_state->Finish(FailedCall(L"pthread_create", static_cast<std::uint32_t>(error.code().value())));
    }
}

std::optional<std::uint8_t> FrameCapture::AddInterface(pcapng::Interface interface) {
    const std::lock_guard guard(m_state->lock);
    if (m_state->interfaces.size() == FrameQueue::kMostInterfaces) {
        return std::nullopt;
    }
    m_state->interfaces.push_back({.block = std::move(interface), .started = CaptureTime()});
    return static_cast<std::uint8_t>(m_state->interfaces.size() - 1);
}

void FrameCapture::EndInterface(std::uint8_t interface, std::optional<std::uint64_t> received,
                                std::optional<std::uint64_t> dropped) {
    const std::lock_guard guard(m_state->lock);
    InterfaceEnd& end = m_state->interfaces[interface];
    end.ended = CaptureTime();
    end.received = received;
    end.dropped = dropped;
}

QueuedFrame* FrameCapture::Put(const FrameQueue::Frame& frame) {
    return m_state->failed.load(std::memory_order_relaxed) ? nullptr : m_state->queue.Reserve(frame);
}

void FrameCapture::Close(QueuedFrame* frame) {
    m_state->queue.Close(frame);
}

void FrameCapture::End() {
    m_state->queue.End();
}

bool FrameCapture::WaitUntilOver(std::chrono::milliseconds limit) const {
    std::unique_lock guard(m_state->lock);
    return m_state->changed.wait_for(guard, limit, [this] { return m_state->isOver; });
}

CaptureCounts FrameCapture::Counts() const {
    const std::lock_guard guard(m_state->lock);
    return {m_state->written.load(std::memory_order_relaxed), m_state->queue.Dropped(), m_state->problem,
            m_state->hasBegun, m_state->isOver};
}

} // namespace vnxtest
