// Mutates inputs of frames so that they pass the first checks: mutates whole records and mostly corrects
// what the guest verifies first (destination, lengths, checksums).
#include <algorithm>
#include <random>
#include <vector>

#include "fuzz_input.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maximum);

namespace {

using namespace vnxtest;

void Mend(std::span<std::uint8_t> frame, unsigned choice) {
    constexpr MacAddress kGuestMac({0x02, 0, 0x5E, 0x80, 0, 0x6F});
    constexpr Ipv4Address kGuestIp(10, 77, 0, 111);
    constexpr std::size_t kHeaders = Ipv4View::kLength + IcmpEchoView::kLength;
    if (frame.size() < EthernetView::kLength + kHeaders || (choice & 7) == 0) {
        return;
    }
    auto ethernet = EthernetView::Over(frame);
    if ((choice & 0x30) != 0) {
        ethernet->SetDestination(kGuestMac);
    }
    if (ethernet->EtherType() != kEtherTypeIpv4) {
        return;
    }
    const auto packet = frame.subspan(EthernetView::kLength);
    auto ip = Ipv4View::Over(packet);
    if ((choice & 0xC0) != 0) {
        ip->SetDestination(kGuestIp);
    }
    if ((choice & 0x300) != 0) {
        ip->SetTotalLength(static_cast<std::uint16_t>(packet.size()));
    }
    ip->Seal();
    const auto total = std::clamp<std::size_t>(ip->TotalLength(), kHeaders, packet.size());
    const auto message = packet.subspan(Ipv4View::kLength, total - Ipv4View::kLength);
    SealIcmp(message);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maximum,
                                               unsigned seed) {
    std::minstd_rand random(seed);
    std::vector<std::span<std::uint8_t>> frames;
    ForEachRecord(std::span(data, size), [&](std::uint16_t, auto frame) { frames.push_back(frame); });
    if (frames.empty() || random() % 4 == 0) {
        size = LLVMFuzzerMutate(data, size, maximum);
    } else {
        const std::span<std::uint8_t> chosen = frames[random() % frames.size()];
        std::uint8_t* const frame = chosen.data(); // behind its head
        const std::vector<std::uint8_t> rest(frame + chosen.size(), data + size);
        const auto start = static_cast<std::size_t>(frame - data);
        const std::size_t room = std::min<std::size_t>(maximum - start - rest.size(), kRecordLength);
        const std::size_t length =
            room > 0 ? LLVMFuzzerMutate(frame, std::min(chosen.size(), room), room) : 0;
        frame[-2] = static_cast<std::uint8_t>(length);
        frame[-1] = static_cast<std::uint8_t>((frame[-1] & 0xF8) | length >> 8);
        size = static_cast<std::size_t>(std::ranges::copy(rest, frame + length).out - data);
    }
    ForEachRecord(std::span(data, size),
                  [&](std::uint16_t, auto frame) { Mend(frame, static_cast<unsigned>(random())); });
    return size;
}
