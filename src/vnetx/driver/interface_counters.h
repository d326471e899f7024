// What one open interface counts, in counters that several threads may add to at once.
//
// Every frame taken from the driver is counted in packetsRead and bytesRead whatever becomes of it,
// and then either delivered or counted in exactly one of internalArps, fromOurself and ignored. The
// four zero-MAC counters are attributes besides. Bytes are those of whole frames at the driver's
// side. A call is one operation of the contract; an I/O is one transfer between library and driver,
// which on the reading side may bring many frames.
#pragma once

#include <atomic>
#include <cstdint>

#include "vnetx/vnetx.h"

namespace vnxtest {

// A counter that one thread at a time adds to (the reading side, under its lock), read by any.
class ReaderCounter {
public:
    void Add(std::int64_t count = 1) {
        m_value.store(m_value.load(std::memory_order_relaxed) + count, std::memory_order_relaxed);
    }
    std::int64_t Get() const { return m_value.load(std::memory_order_relaxed); }

private:
    std::atomic<std::int64_t> m_value{0};
};

// A counter that any thread adds to.
class SharedCounter {
public:
    void Add(std::int64_t count = 1) { m_value.fetch_add(count, std::memory_order_relaxed); }
    std::int64_t Get() const { return m_value.load(std::memory_order_relaxed); }

private:
    std::atomic<std::int64_t> m_value{0};
};

struct InterfaceCounters {
    // The reading side; on a cache line of its own, so that writers do not slow it.
    struct alignas(64) Reading {
        ReaderCounter calls, ios, packets, bytes, internalArps, fromOurself, toZeroMac, fromZeroMac;
        std::atomic<std::uint32_t> maximumBytes{0};
    } reading;
    struct alignas(64) Writing {
        SharedCounter calls, ios, packets, bytes, toZeroMac, fromZeroMac;
    } writing;
    // Frames dropped unread, packets whose next hop did not answer, and replies without a single addressee.
    alignas(64) SharedCounter ignored;

    // Fills every counter of `record`; its length and the two buffer sizes are the caller's.
    void Fill(VnetxStatistics& record) const {
        record.maximumBytesReceived = reading.maximumBytes.load(std::memory_order_relaxed);
        record.writeCalls = writing.calls.Get();
        record.writeIos = writing.ios.Get();
        record.readCalls = reading.calls.Get();
        record.readIos = reading.ios.Get();
        record.packetsRead = reading.packets.Get();
        record.packetsWritten = writing.packets.Get();
        record.bytesRead = reading.bytes.Get();
        record.bytesWritten = writing.bytes.Get();
        record.internalArps = reading.internalArps.Get();
        record.ignored = ignored.Get();
        record.fromOurself = reading.fromOurself.Get();
        record.toZeroMacRead = reading.toZeroMac.Get();
        record.toZeroMacWritten = writing.toZeroMac.Get();
        record.fromZeroMacRead = reading.fromZeroMac.Get();
        record.fromZeroMacWritten = writing.fromZeroMac.Get();
    }

    void NoteTransfer(std::uint32_t transferred) {
        reading.ios.Add();
        if (transferred > reading.maximumBytes.load(std::memory_order_relaxed)) {
            reading.maximumBytes.store(transferred, std::memory_order_relaxed);
        }
    }
};

} // namespace vnxtest
