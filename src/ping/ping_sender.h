// The send thread's part of a ping test: the echo requests and their pace. Send thread.
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
    // `library` makes the checksums. The driver's buffer size of `run` sets the pace of a sender without a
    // delay.
    PingSender(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run, PingBook& book,
               PingSignals& signals);

    // Begins a test from this interface: its first lines, and the parts that all its pings share.
    void Begin(INTERFACE_INFO& info, const PingPlan& plan);
    // Sends until all pings are sent or the sending is ended. Calls `onSent` after each ping. False if one
    // could not be written: the test is stopped then.
    bool SendAll(const std::function<void()>& onSent);

private:
    SendOutcome SendPing(std::uint16_t sequence);
    // Waits between two pings: the delay, or without one the pace of the receive ring. False if the sending
    // is ended.
    bool AwaitTurn(std::size_t sent);

    VnetxLibrary& m_library;
    PacketWriter& m_writer;
    const RunSettings& m_run;
    PingBook& m_book;
    PingSignals& m_signals;
    INTERFACE_INFO* m_interface = nullptr;
    PingPlan m_plan;
    std::vector<std::uint8_t> m_frame; // room for an Ethernet header, then the packet
};

} // namespace vnxtest
