// Who has which MAC on an adapter's network: what ARP has told (RFC 826).
//
// An entry is good for a minute and is asked for anew from half of that on; a question that nobody
// answered is remembered for a second, so that a silent host costs one exchange and not one a
// packet. Any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>

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

    enum class State { Unknown, Known, Silent };
    struct Answer {
        State state = State::Unknown;
        MacAddress mac;       // when known
        bool refresh = false; // known, but to be asked again now; said to one caller a second
    };

    // `now` is the clock; tests bring their own.
    explicit NeighbourTable(std::function<Clock::time_point()> now = [] { return Clock::now(); })
        : m_now(std::move(now)) {}

    // An ARP packet addressed to us named this pair.
    void Learn(Ipv4Address address, MacAddress mac);
    // An ARP packet to somebody else did: only an entry that is there already is brought up to date.
    void Update(Ipv4Address address, MacAddress mac);
    // Nobody answered. A pair learnt meanwhile stays.
    void NoteSilence(Ipv4Address address);

    Answer Find(Ipv4Address address);
    // Zero when no entry that is still good has the MAC.
    Ipv4Address FindByMac(MacAddress mac);

private:
    struct Entry {
        MacAddress mac; // zero: asked in vain
        Clock::time_point heard;
        Clock::time_point asked; // the last refresh
    };

    void Put(Ipv4Address address, const Entry& entry);
    bool IsGood(const Entry& entry, Clock::time_point now) const {
        return now - entry.heard <
               (entry.mac.IsZero() ? Clock::duration(kSilence) : Clock::duration(kLifetime));
    }

    const std::function<Clock::time_point()> m_now;
    std::mutex m_mutex;
    std::unordered_map<std::uint32_t, Entry> m_entries; // by the address's memory image
};

} // namespace vnxtest
