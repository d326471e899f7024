// The neighbour table of an adapter's network, learnt by ARP (RFC 826).
//
// An entry is valid for a minute and refreshed after half of that. An unanswered question is remembered for
// a second, so that a silent host costs one exchange and not one a packet. Any thread; one lock.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "vnetx/wire_facts.h"
#include "wrenlib/address.h"

namespace vnxtest {

class NeighbourTable {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr auto kLifetime = std::chrono::seconds(60);
    static constexpr auto kRefreshAge = std::chrono::seconds(30);
    static constexpr auto kRefreshInterval = std::chrono::seconds(1);
    static constexpr auto kSilence = std::chrono::seconds(1);
    static constexpr std::size_t kCapacity = 1024;
    static constexpr std::size_t kMostSilent = 64;

    enum class State { Unknown, Known, Silent };
    struct Answer {
        State state = State::Unknown;
        MacAddress mac;       // when known
        bool refresh = false; // known, but to be asked for again now; set for one caller a second
    };

    // `now` is the clock; tests bring their own.
    explicit NeighbourTable(std::function<Clock::time_point()> now = [] { return Clock::now(); });

    // An ARP packet addressed to us named this pair.
    void Learn(Ipv4Address address, MacAddress mac);
    // An ARP packet to another station named it: only an existing entry is updated.
    void Update(Ipv4Address address, MacAddress mac);
    // There was no answer. A pair learnt meanwhile stays.
    void NoteSilence(Ipv4Address address);
    // The same after a whole exchange, which is counted.
    void NoteUnanswered(Ipv4Address address);
    // The addresses with such exchanges, and none answered since; at most kMostSilent of them.
    std::vector<SilentStation> Silent();

    // On a reading thread the answer may be a tenth of a second old, if the table has not changed since.
    Answer Find(Ipv4Address address);
    // Zero if no valid entry has the MAC.
    Ipv4Address FindByMac(MacAddress mac);

private:
    struct Entry {
        MacAddress mac; // zero: no answer
        Clock::time_point heard;
        Clock::time_point asked; // the last refresh
    };

    struct Silence {
        std::uint64_t questions = 0;
        bool answered = false;
    };

    Answer LookUp(Ipv4Address address);
    void NoteAnswer(Ipv4Address address);
    void Put(Ipv4Address address, const Entry& entry);
    bool IsGood(const Entry& entry, Clock::time_point now) const {
        return now - entry.heard <
               (entry.mac.IsZero() ? Clock::duration(kSilence) : Clock::duration(kLifetime));
    }

    const std::function<Clock::time_point()> m_now;
    const std::uint64_t m_number;            // no other table has it
    std::atomic<std::uint64_t> m_changes{0}; // of the entries
    std::mutex m_mutex;
    std::unordered_map<std::uint32_t, Entry> m_entries;    // by the address's memory image
    std::unordered_map<std::uint32_t, Silence> m_silences; // likewise; kept when an entry ends
};

} // namespace vnxtest
