// The handling of every packet that a monitor thread reads.
//
// In TAP mode frames are sorted by Ethernet type; ARP and RARP go to their responders. IPv4 packets
// are checked strictly, in a fixed order; an echo request for the guest is answered in place, an
// echo reply for the guest completes a ping. Everything else is ignored with a numbered reason.
#pragma once

#include "core/interface_info.h"
#include "core/packet_handler.h"
#include "core/run_settings.h"
#include "ping/packet_writer.h"
#include "ping/ping_test.h"

namespace vnxtest {

class ReceivePath final : public PacketHandler {
public:
    // `library` makes the checksums, `writer` writes the guest's answers. All arguments outlive this.
    ReceivePath(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run, PingTest& pingTest);

    // Monitor threads; two at once with two interfaces.
    void HandleReceivedPacket(INTERFACE_INFO& info, ReceivedPacket packet) override;

private:
    void HandleIpPacket(INTERFACE_INFO& info, ReceivedPacket packet);
    void AnswerEchoRequest(INTERFACE_INFO& info, ReceivedPacket packet);
    void AnswerArp(INTERFACE_INFO& info, ReceivedPacket packet);
    void AnswerRarp(INTERFACE_INFO& info, ReceivedPacket packet);
    // `packet` is an Ethernet frame if the reason is UnknownPacket, else what stands behind the Ethernet
    // header.
    void IgnorePacket(INTERFACE_INFO& info, IgnoreReason reason, ReceivedPacket packet);

    VnetxLibrary& m_library;
    PacketWriter& m_writer;
    const RunSettings& m_run;
    PingTest& m_pingTest;
};

} // namespace vnxtest
