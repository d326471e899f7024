// What an interface exchanges frames with: the part that differs from one built-in library to another.
//
// A driver takes and writes frames and knows whether they can flow. Its neighbours and the facts of its
// adapter are two small interfaces of their own, which only requests use, never the data path.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "vnetx/driver/debug_lines.h"
#include "vnetx/driver/interface_counters.h"
#include "vnetx/driver/interface_settings.h"
#include "vnetx/driver/reader_gate.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/wire_facts.h"

namespace vnxtest {

// The buffer that the program reads into; a longer frame is ignored.
inline constexpr std::uint32_t kFullReadSize = 65535;

// What an interface and its driver share: settings, counters, and the gate where the reader waits.
struct InterfaceState {
    InterfaceState(std::unique_ptr<ReaderGate> readerGate, bool notifies,
                   const std::atomic<VnetxDebugOutput>& debugSink)
        : gate(std::move(readerGate)), socketNotify(notifies), debug(debugSink) {}

    const std::unique_ptr<ReaderGate> gate;
    const bool socketNotify;
    const std::uint64_t reader = reading_thread::NewReader(); // its number among the reading threads'
    InterfaceSettings settings;
    InterfaceCounters counters;
    DebugLines debug;
};

// Functions with an int return 0 or an errno value. Attach() and SetUp() are serialised by the lock of the
// requests.
class Driver {
public:
    virtual ~Driver() = default;
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    // Fixes the mode, once, and gives the interface's name.
    virtual int Attach(InterfaceMode mode, std::string& name) = 0;
    // Starts the exchange of frames with the current settings, for the first time or again, or stops it.
    // Under the reading lock; stopping does not fail.
    virtual int SetUp(bool up) = 0;
    // 0 while frames can flow; ENETDOWN, ENODEV if the adapter went down or away. Any thread.
    virtual int Health() = 0;

    // Takes one frame for the program without waiting: its length, 0 if there is none, -1 with errno. Under
    // the reading lock.
    virtual std::int32_t TakeFrame(std::span<std::uint8_t> buffer) = 0;
    // The object that becomes ready when there is one.
    virtual WaitObject FrameWaitObject() const = 0;
    // Does what has come due, under the reading lock. The milliseconds until the next time, negative if
    // there is none.
    virtual int DoTimedWork() { return -1; }
    // Writes one frame: its length, or -1 with errno. Counts everything but the call itself. Any thread.
    virtual std::int32_t WriteFrame(std::span<const std::uint8_t> frame) = 0;

protected:
    explicit Driver(InterfaceState& state) : m_state(state) {}

    InterfaceSettings& Settings() { return m_state.settings; }
    const InterfaceSettings& Settings() const { return m_state.settings; }
    InterfaceCounters& Counters() { return m_state.counters; }
    const DebugLines& Debug() const { return m_state.debug; }
    InterfaceState& State() { return m_state; }

private:
    InterfaceState& m_state;
};

// The neighbour queries; a zero address if there is no answer in time. Any thread.
class Neighbourhood {
public:
    virtual ~Neighbourhood() = default;
    virtual MacAddress FindMac(Ipv4Address address) = 0;
    virtual Ipv4Address FindIp(MacAddress mac) = 0;
};

// Facts of the adapter that requests ask for. Any thread.
class LinkFacts {
public:
    virtual ~LinkFacts() = default;
    // The host's address on the link if none was set.
    virtual std::optional<Ipv4Address> Address() = 0;
    // The largest MTU that can be set now.
    virtual std::uint32_t MaximumMtu() const = 0;
    // Frames that the driver has dropped for want of room; nullopt if it does not tell.
    virtual std::optional<std::uint64_t> Dropped() = 0;
    // What was noticed of the wire so far; nullopt if the driver does not tell.
    virtual std::optional<WireFacts> Noticed() { return std::nullopt; }
};

// A driver, and the two interfaces that are parts of it.
struct DriverParts {
    std::unique_ptr<Driver> driver; // null with errno set: it could not be made
    Neighbourhood* neighbours = nullptr;
    LinkFacts* facts = nullptr;
};

// The parts of a driver that is all three itself.
template <typename Whole>
DriverParts PartsOf(std::unique_ptr<Whole> whole) {
    Whole* const all = whole.get();
    return {std::move(whole), all, all};
}

} // namespace vnxtest
