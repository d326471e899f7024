#include "cli/output/background_writer.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <system_error>

#include "core/output_channel.h"
#include "platform/process/thread.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// The most bytes of one write; the queue shrinks in such steps.
constexpr std::size_t kPiece = std::size_t{64} * 1024;

// Enough of a line for its time stamp.
constexpr std::size_t kBeginning = 16;

// The part of `text` for one write; ends at a line end if there is one.
std::string_view FirstPiece(std::string_view text) {
    if (text.size() <= kPiece) {
        return text;
    }
    const std::size_t end = text.rfind('\n', kPiece - 1);
    return text.substr(0, end == std::string_view::npos ? kPiece : end + 1);
}

// A plain loop: at the end of the program it counts all the text that is dropped.
std::uint64_t LinesIn(std::string_view text) {
    std::uint64_t count = 0;
    for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

struct BackgroundWriter::State {
    // Text, or a gap of lines that are left out.
    struct Item {
        std::shared_ptr<const std::string> text;
        std::uint64_t leftOut = 0;
        std::string firstLeftOut; // its beginning
    };

    const Destination destination;
    const std::size_t mostWaiting;
    mutable std::mutex lock; // guards what follows
    mutable std::condition_variable changed;
    std::function<void()> onEnd;
    std::deque<Item> items;
    std::shared_ptr<const std::string> current; // is being written, from `offset` on
    std::size_t offset = 0;
    std::size_t waiting = 0; // bytes, with those of `current`
    std::uint64_t leftOut = 0;
    bool skipCurrent = false;
    bool busy = false; // the thread is in one of the destination's functions
    bool closed = false;
    bool done = false;
    std::wstring problem;

    State(Destination to, std::function<void()> atEnd, std::size_t most)
        : destination(std::move(to)), mostWaiting(most), onEnd(std::move(atEnd)) {}

    // All of these are called under the lock.

    bool IsIdle() const { return items.empty() && !current; }

    void LeaveOut(Item& gap, std::string_view text) {
        if (gap.leftOut == 0) {
            gap.firstLeftOut = text.substr(0, kBeginning);
        }
        const std::uint64_t lines = LinesIn(text);
        gap.leftOut += lines;
        leftOut += lines;
    }

    // Adds `text` to the gap at the end of the queue.
    void LeaveOutAtEnd(std::string_view text) {
        if (items.empty() || items.back().text) {
            items.emplace_back();
        }
        LeaveOut(items.back(), text);
    }

    // A gap ends only once half of the queue is free, so that gaps are few.
    bool HasRoomFor(std::size_t size) const {
        const bool inGap = !items.empty() && !items.back().text;
        return waiting == 0 || waiting + size <= (inGap ? mostWaiting / 2 : mostWaiting);
    }

    void End(std::wstring why) {
        problem = std::move(why);
        items.clear();
        current.reset();
        waiting = 0;
        done = true;
        changed.notify_all();
        if (onEnd) {
            onEnd();
        }
    }

    void TakeNext() {
        Item item = std::move(items.front());
        items.pop_front();
        if (!item.text) {
            item.text = std::make_shared<std::string>(
                item.leftOut > 0 ? LeftOutMark(item.firstLeftOut, item.leftOut) : std::string());
            waiting += item.text->size();
        }
        current = std::move(item.text);
        offset = 0;
    }

    // Moves the rest of `current` into the gap that follows it.
    void SkipRest() {
        const std::string_view rest = std::string_view(*current).substr(offset);
        if (!rest.empty()) {
            if (items.empty() || items.front().text) {
                items.emplace_front();
            }
            items.front().firstLeftOut = rest.substr(0, kBeginning);
            LeaveOut(items.front(), rest);
        }
        waiting -= rest.size();
        offset = current->size();
    }
};

void BackgroundWriter::Run(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->lock);
    const auto call = [&](const auto& function, const auto&... arguments) {
        state->busy = true;
        lock.unlock();
        std::wstring problem;
        try {
            problem = function(arguments...);
        } catch (const std::bad_alloc&) {
            problem = L"There is not enough memory to write.";
        }
        lock.lock();
        state->busy = false;
        return problem;
    };
    while (!state->done) {
        state->changed.wait(lock, [&] { return state->closed || state->done || !state->items.empty(); });
        if (state->done || state->items.empty()) {
            break;
        }
        for (state->TakeNext(); !state->done && state->offset < state->current->size();) {
            const std::shared_ptr<const std::string> text = state->current;
            const std::string_view piece = FirstPiece(std::string_view(*text).substr(state->offset));
            const std::wstring problem = call(state->destination.write, piece);
            if (state->done) {
                return; // given up meanwhile
            }
            state->offset += piece.size();
            state->waiting -= piece.size();
            if (!problem.empty()) {
                state->End(problem);
                return;
            }
            if (state->skipCurrent) {
                state->skipCurrent = false;
                state->SkipRest();
            }
        }
        state->current.reset();
        state->changed.notify_all();
    }
    const std::wstring problem =
        !state->done && state->destination.finish ? call(state->destination.finish) : std::wstring();
    if (!state->done) {
        state->End(problem);
    }
}

BackgroundWriter::BackgroundWriter(Destination destination, std::function<void()> onEnd,
                                   std::size_t mostWaiting)
    : m_state(std::make_shared<State>(std::move(destination), std::move(onEnd), mostWaiting)) {}

BackgroundWriter::~BackgroundWriter() {
    bool stuck = false;
    {
        const std::lock_guard lock(m_state->lock);
        m_state->onEnd = nullptr;
        m_state->closed = true;
        stuck = m_state->busy;
        m_state->done = true;
        m_state->items.clear();
        m_state->changed.notify_all();
    }
    if (!m_thread.joinable()) {
        return;
    }
    if (stuck) {
        m_thread.detach(); // it owns what it uses
    } else {
        m_thread.join();
    }
}

void BackgroundWriter::Start() {
    if (m_thread.joinable() || m_state->done) {
        return;
    }
    try {
        const StopSignalsHeldBack held; // they belong to the stop-signal watcher
        m_thread = std::thread([state = m_state] { Run(state); });
    } catch (const std::system_error& error) {
        m_state->End(Sprintf(L"A thread to write with could not be made: pthread_create failed; errno=%d: %s",
                             error.code().value(), StrError(error.code().value())));
    }
}

void BackgroundWriter::Append(std::shared_ptr<const std::string> lines) {
    const std::lock_guard lock(m_state->lock);
    if (lines->empty() || m_state->done || m_state->closed) {
        return;
    }
    Start();
    if (m_state->done) {
        return;
    }
    if (m_state->HasRoomFor(lines->size())) {
        m_state->waiting += lines->size();
        m_state->items.push_back({std::move(lines), 0, {}});
    } else {
        m_state->LeaveOutAtEnd(*lines);
    }
    m_state->changed.notify_all();
}

void BackgroundWriter::Close() {
    const std::lock_guard lock(m_state->lock);
    if (m_state->destination.finish) {
        Start();
    }
    m_state->closed = true;
    m_state->done = m_state->done || !m_thread.joinable(); // there was nothing to write
    m_state->changed.notify_all();
}

void BackgroundWriter::SkipToLastLines() {
    const std::lock_guard lock(m_state->lock);
    std::size_t kept = 0;
    auto first = m_state->items.end();
    const auto sizeOf = [](const State::Item& item) { return item.text ? item.text->size() : 0; };
    while (first != m_state->items.begin() && kept + sizeOf(*std::prev(first)) <= kPiece) {
        --first;
        kept += sizeOf(*first);
    }
    State::Item gap;
    for (auto item = m_state->items.begin(); item != first; ++item) {
        if (item->text) {
            m_state->LeaveOut(gap, *item->text);
            m_state->waiting -= item->text->size();
        } else {
            gap.firstLeftOut = gap.leftOut == 0 ? item->firstLeftOut : gap.firstLeftOut;
            gap.leftOut += item->leftOut;
        }
    }
    m_state->items.erase(m_state->items.begin(), first);
    if (gap.leftOut > 0) {
        m_state->items.push_front(std::move(gap));
    }
    m_state->skipCurrent = m_state->current != nullptr;
}

void BackgroundWriter::GiveUp() {
    const std::lock_guard lock(m_state->lock);
    if (m_state->done) {
        return;
    }
    if (m_state->current) {
        m_state->leftOut += LinesIn(std::string_view(*m_state->current).substr(m_state->offset));
    }
    for (const State::Item& item : m_state->items) {
        m_state->leftOut += item.text ? LinesIn(*item.text) : 0;
    }
    // `current` stays: the thread may be writing it.
    m_state->items.clear();
    m_state->done = true;
    m_state->changed.notify_all();
}

bool BackgroundWriter::IsDone() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->done;
}

bool BackgroundWriter::IsPatient() const {
    return m_state->destination.isPatient;
}

bool BackgroundWriter::IsIdle() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->IsIdle();
}

void BackgroundWriter::WaitUntilIdle(std::chrono::milliseconds limit) const {
    std::unique_lock lock(m_state->lock);
    m_state->changed.wait_for(lock, limit, [this] { return m_state->IsIdle() || m_state->done; });
}

std::wstring BackgroundWriter::Problem() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->problem;
}

std::uint64_t BackgroundWriter::LinesLeftOut() const {
    const std::lock_guard lock(m_state->lock);
    return m_state->leftOut;
}

} // namespace vnxtest
