// The neighbour queries of an open interface: the neighbour table first, then one ARP exchange (RFC 826) or
// RARP exchange (RFC 903), bounded in time.
//
// The exchange has a small capture of its own, so that it works whether or not a thread reads. A reading
// thread must not wait for it: it calls Ask(), which is rate-limited for it. Any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "vnetx/driver/reader_gate.h"
#include "vnetx/pcap/capture.h"
#include "vnetx/watch/neighbours.h"

namespace vnxtest {

class ArpResolver {
public:
    static constexpr auto kExchangeTime = std::chrono::milliseconds(150);
    static constexpr auto kRepeatAfter = std::chrono::milliseconds(50);

    // Who asks.
    struct Asker {
        MacAddress mac;
        Ipv4Address ip;
    };
    // The limits for reading threads: questions within kExchangeTime, and within a second.
    static constexpr std::size_t kMostAtATime = 16;
    static constexpr std::size_t kMostASecond = 64;

    // Called with every frame that an exchange has sent.
    using SentFunction = std::function<void(std::span<const std::uint8_t> frame)>;

    // Null with errno set as by Capture::Open, which also gets `tell`.
    static std::unique_ptr<ArpResolver> Open(const std::string& device, NeighbourTable& table,
                                             SentFunction sent,
                                             const std::function<void(const std::string&)>& tell);

    // The MAC of `address`; zero if there was no answer within kExchangeTime, or none to a question of the
    // last second. Waits; one exchange at a time.
    MacAddress Resolve(const Asker& asker, Ipv4Address address);
    // The address of `mac`; zero likewise. Waits.
    Ipv4Address ResolveReverse(const Asker& asker, MacAddress mac);
    // Asks without waiting: the interface's reader learns from the answer. On a reading thread only within
    // the limits above; false if it did not ask.
    bool Ask(const Asker& asker, Ipv4Address address);

    // Gives up the captures, to be closed. No other function may be called after it.
    std::vector<std::unique_ptr<Capture>> TakeCaptures();

    // True if this resolver asked for `address` within the last second, so that the answer is its own.
    bool HasAsked(Ipv4Address address);

private:
    struct Exchange;

    ArpResolver(NeighbourTable& table, SentFunction sent, std::unique_ptr<Capture> capture,
                std::unique_ptr<Capture> reverseCapture, std::unique_ptr<ReaderGate> gate)
        : m_table(table), m_sent(std::move(sent)), m_capture(std::move(capture)),
          m_reverseCapture(std::move(reverseCapture)), m_gate(std::move(gate)) {}

    void Send(Capture& capture, std::span<const std::uint8_t> frame);
    void NoteAsked(Ipv4Address address);
    bool MayReaderAsk();
    bool Run(Capture& capture, Exchange& exchange, std::span<const std::uint8_t> question);

    NeighbourTable& m_table;
    const SentFunction m_sent;

    std::mutex m_exchangeMutex; // one exchange at a time
    // Both are opened at the start: the process may give up the right to later.
    std::unique_ptr<Capture> m_capture;
    std::unique_ptr<Capture> m_reverseCapture;
    const std::unique_ptr<ReaderGate> m_gate;

    std::mutex m_askedMutex;                                        // of the two below
    std::deque<NeighbourTable::Clock::time_point> m_askedByReaders; // in the last second
    std::vector<std::pair<Ipv4Address, NeighbourTable::Clock::time_point>> m_asked;
    std::unordered_map<std::uint64_t, NeighbourTable::Clock::time_point>
        m_silentMacs; // under m_exchangeMutex
};

} // namespace vnxtest
