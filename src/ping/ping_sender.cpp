#include "ping/ping_sender.h"

#include <thread>

#include "core/frame_verdict.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "ping/echo_request.h"
#include "wrenlib/log.h"

namespace vnxtest {

namespace {
// Milliseconds until a list that is full of undecided pings is checked again.
constexpr std::uint32_t kRoomCheck = 5;
} // namespace

PingSender::PingSender(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run, PingBook& book,
                       PingSignals& signals)
    : m_library(library), m_writer(writer), m_run(run), m_book(book), m_signals(signals) {}

void PingSender::Begin(INTERFACE_INFO& info, const PingPlan& plan) {
    m_interface = &info;
    m_plan = plan;
    LogMsg(L"\n** START PING TEST **\n\n");
    const std::wstring target = DescribePingTarget(plan);
    const std::uint16_t identifier =
        m_book.Begin(plan, target, Pace::RingSlots(m_run.driverBufferSize, plan.dataSize));
    LogPingPlan(plan, target);
    m_frame.assign(EthernetView::kLength + kPingHeaders + plan.dataSize, 0);
    BuildEchoRequest(std::span(m_frame).subspan(EthernetView::kLength), m_library, info.addresses.guestIp,
                     plan.target, SwapNetwork16(identifier));
}

bool PingSender::SendAll(const std::function<void()>& onSent) {
    bool good = true;
    std::uint16_t counter = m_book.LastSequence();
    std::size_t sent = 0;
    std::uint32_t remaining = m_plan.numPings;
    do {
        ++counter;
        if (SendPing(SwapNetwork16(counter)) == SendOutcome::Failed) {
            LogSendFailure(m_book.PingNumber(SwapNetwork16(counter)));
            good = false;
            m_signals.stop.Set();
            break;
        }
        onSent();
        if (!AwaitTurn(++sent)) {
            break;
        }
    } while (--remaining != 0);
    m_book.KeepLastSequence(counter);
    return good;
}

SendOutcome PingSender::SendPing(std::uint16_t sequence) {
    const std::uint16_t checksum =
        SetEchoSequence(std::span(m_frame).subspan(EthernetView::kLength), m_library, sequence);
    // Without the ping list lock: for a silent target this takes as long as an ARP exchange, and the
    // readers of replies must not wait for it.
    m_writer.AddressPingFrame(*m_interface, m_frame);
    return m_book.Send(sequence, checksum, [this, sequence] {
        TellNextWrite(
            {.fate = FrameFate::Request, .number = m_book.PingNumber(sequence), .station = m_plan.target});
        return m_writer.WriteAddressedFrame(*m_interface, m_frame);
    });
}

bool PingSender::AwaitTurn(std::size_t sent) {
    if (m_plan.delay != 0 && m_signals.endSending.WaitFor(m_plan.delay)) {
        return false;
    }
    // A ping may reuse the sequence number of 65,536 pings ago only once that one is decided.
    while (!m_book.HasRoom() && !m_signals.endSending.WaitFor(kRoomCheck)) {
    }
    Pace& pace = m_book.SendPace();
    if (m_plan.delay == 0 && !pace.IsFree(sent)) {
        while (!m_signals.endSending.IsSet()) {
            const Pace::Clock::duration wait = pace.Wait(sent, Pace::Clock::now());
            if (wait == Pace::Clock::duration::zero()) {
                break;
            }
            std::this_thread::sleep_for(wait);
        }
    }
    return !m_signals.endSending.IsSet();
}

} // namespace vnxtest
