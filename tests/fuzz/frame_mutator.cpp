// Mutates inputs of frames so that they get past the checks at the door: whole records are mutated,
// and what the guest verifies first (destination, lengths, checksums) is put right again, mostly.
#include <algorithm>
#include <random>
#include <vector>

#include "fuzz_input.h"
#include "vnetx/checksum.h"
#include "vnetx/wire_format.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maximum);

namespace {

using namespace vnxtest;

void Mend(std::span<std::uint8_t> frame, unsigned choice) {
    constexpr std::uint8_t kGuestMac[] = {0x02, 0, 0x5E, 0x80, 0, 0x6F};
    constexpr std::uint8_t kGuestIp[] = {127, 0, 0, 111};
    constexpr std::size_t kIp = kEthernetHeaderLength, kIcmp = kIp + kIpv4HeaderLength;
    if (frame.size() < kIcmp + 8 || (choice & 7) == 0) {
        return;
    }
    if ((choice & 0x30) != 0) {
        std::ranges::copy(kGuestMac, frame.begin());
    }
    if (LoadBe16(frame.data() + 12) != kEtherTypeIpv4) {
        return;
    }
    if ((choice & 0xC0) != 0) {
        std::ranges::copy(kGuestIp, frame.begin() + kIp + 16);
    }
    if ((choice & 0x300) != 0) {
        StoreBe16(frame.data() + kIp + 2, static_cast<std::uint16_t>(frame.size() - kIp));
    }
    const auto seal = [&](std::size_t field, std::size_t from, std::size_t length) {
        StoreBe16(frame.data() + field, 0);
        StoreBe16(frame.data() + field, InetChecksum(frame.data() + from, length));
    };
    const std::size_t packet = frame.size() - kIp;
    const auto total = std::clamp<std::size_t>(LoadBe16(frame.data() + kIp + 2), 28, packet);
    seal(kIp + 10, kIp, kIpv4HeaderLength);
    seal(kIcmp + 2, kIcmp, total - kIpv4HeaderLength);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maximum,
                                               unsigned seed) {
    std::minstd_rand random(seed);
    std::vector<std::size_t> starts; // of the records, behind their heads
    const std::span whole(data, size);
    ForEachRecord(whole, [&](std::uint16_t, std::span<std::uint8_t> frame) {
        starts.push_back(static_cast<std::size_t>(frame.data() - data));
    });
    if (starts.empty() || random() % 4 == 0) {
        size = LLVMFuzzerMutate(data, size, maximum);
    } else {
        const std::size_t chosen = random() % starts.size();
        const std::size_t start = starts[chosen];
        const std::size_t end = chosen + 1 < starts.size() ? starts[chosen + 1] - 2 : size;
        std::vector<std::uint8_t> frame(data + start, data + end);
        const std::vector<std::uint8_t> rest(data + end, data + size);
        const std::size_t room = std::min<std::size_t>(maximum - start - rest.size(), kRecordLength);
        const std::size_t before = std::min(frame.size(), room);
        frame.resize(room);
        const std::size_t after = room > 0 ? LLVMFuzzerMutate(frame.data(), before, room) : 0;
        const auto head =
            static_cast<std::uint16_t>(static_cast<std::size_t>(data[start - 1] & 0xF8) << 8 | after);
        data[start - 2] = static_cast<std::uint8_t>(head);
        data[start - 1] = static_cast<std::uint8_t>(head >> 8);
        std::uint8_t* at = std::copy_n(frame.begin(), after, data + start);
        size = static_cast<std::size_t>(std::copy(rest.begin(), rest.end(), at) - data);
    }
    ForEachRecord(std::span(data, size), [&](std::uint16_t, std::span<std::uint8_t> frame) {
        Mend(frame, static_cast<unsigned>(random()));
    });
    return size;
}
