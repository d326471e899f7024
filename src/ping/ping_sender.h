// What the send thread of a ping test does: one echo request after the other, in their time.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "ping/packet_writer.h"
#include "ping/ping_book.h"

namespace vnxtest {

class PingSender {
public:
    // The driver's buffer size of `run` is what a sender without a delay keeps pace with.
    PingSender(PacketWriter& writer, const RunSettings& run, PingBook& book, PingSignals& signals);

    // Begins a test from this interface: its first lines, and everything that is the same for all its pings.
    void Begin(INTERFACE_INFO& info, const PingPlan& plan);
    // Sends until all pings are sent or the sending is to end. Calls `onSent` after each ping. False when one
    // could not be written: the test is stopped then.
    bool SendAll(const std::function<void()>& onSent);

private:
    SendOutcome SendPing(std::uint16_t sequence);
    // What lies between two pings: the delay, or without one what lets the receiving side keep up. False
    // when the sending is to end.
    bool AwaitTurn(std::size_t sent);

    PacketWriter& m_writer;
    const RunSettings& m_run;
    PingBook& m_book;
    PingSignals& m_signals;
    INTERFACE_INFO* m_interface = nullptr;
    PingPlan m_plan;
    std::vector<std::uint8_t> m_frame; // room for an Ethernet header, then the packet
};

} // namespace vnxtest
