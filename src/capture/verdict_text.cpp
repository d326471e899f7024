#include "capture/verdict_text.h"

#include <algorithm>

#include <fmt/format.h>

#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "packets/ipv4_packet.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Writes into the caller's room; what does not fit is left out.
class Comment {
public:
    explicit Comment(std::span<char, kVerdictRoom> room) : m_room(room) {}

    template <typename... Args>
    Comment& Add(fmt::format_string<Args...> format, Args&&... args) {
        const auto done = fmt::format_to_n(m_room.data() + m_size, m_room.size() - m_size, format,
                                           std::forward<Args>(args)...);
        m_size += std::min(done.size, m_room.size() - m_size);
        return *this;
    }
    Comment& AddAddress(Ipv4Address address) {
        const auto& byte = address.Bytes();
        return Add("{}.{}.{}.{}", byte[0], byte[1], byte[2], byte[3]);
    }
    // A whole number of the unit that leaves three digits or more.
    Comment& AddTime(std::uint64_t nanoseconds) {
        constexpr std::uint64_t kMicro = 1'000, kMilli = 1'000'000;
        return nanoseconds < 10 * kMilli ? Add("{} us", nanoseconds / kMicro)
                                         : Add("{} ms", nanoseconds / kMilli);
    }
    std::string_view Text() const { return {m_room.data(), m_size}; }

private:
    std::span<char, kVerdictRoom> m_room;
    std::size_t m_size = 0;
};

std::span<const std::uint8_t> IpPacketOf(std::span<const std::uint8_t> frame, bool isEthernet) {
    return frame.subspan(isEthernet ? std::min(frame.size(), ConstEthernetView::kLength) : 0);
}

void AddReason(Comment& comment, IgnoreReason reason, std::span<const std::uint8_t> packet) {
    comment.Add("ignored: {}", ToUtf8(IgnoreReasonText(static_cast<std::uint32_t>(reason))));
    if (const auto ip = ConstIpv4View::Over(packet); ip && reason == IgnoreReason::Fragmented) {
        constexpr std::uint8_t kDontFragment = 0x40; // of the byte with the flags (RFC 791)
        comment.Add("{}", ip->IsFragment()                   ? " (a fragment)"
                          : (packet[6] & kDontFragment) != 0 ? " (Don't-Fragment is set)"
                                                             : " (a reserved flag is set)");
    }
}

void AddReply(Comment& comment, const FrameVerdict& verdict) {
    comment.Add("reply to ping #{} of ", verdict.number).AddAddress(verdict.station).Add(", ");
    comment.AddTime(verdict.roundTrip);
    if (verdict.lateBy != 0) {
        comment.Add(", ").AddTime(verdict.lateBy).Add(" late");
    }
    if (verdict.replies > 1) {
        comment.Add(", reply number {} to it", verdict.replies);
    }
}

// A frame of the guest that nobody announced: an answer.
void AddAnswer(Comment& comment, std::span<const std::uint8_t> frame, bool isEthernet) {
    const auto ethernet = ConstEthernetView::Over(frame);
    const std::uint16_t type = !isEthernet ? kEtherTypeIpv4 : ethernet ? ethernet->EtherType() : 0;
    const auto packet = IpPacketOf(frame, isEthernet);
    if (type == kEtherTypeArp) {
        comment.Add("the guest's ARP reply");
    } else if (type == kEtherTypeRarp) {
        comment.Add("the guest's RARP reply");
    } else if (const auto ip = ConstIpv4View::Over(packet); ip && type == kEtherTypeIpv4) {
        comment.Add("the guest's reply to a ping of ").AddAddress(ip->Destination());
    }
}

} // namespace

std::string_view DescribeVerdict(const QueuedFrame& frame, bool isEthernet,
                                 std::span<char, kVerdictRoom> room) {
    Comment comment(room);
    const FrameVerdict& verdict = frame.verdict;
    switch (verdict.fate) {
    case FrameFate::NotTold:
        if (frame.direction == pcapng::Direction::Outbound) {
            AddAnswer(comment, frame.Bytes(), isEthernet);
        }
        break;
    case FrameFate::Ignored:
        AddReason(comment, verdict.reason, IpPacketOf(frame.Bytes(), isEthernet));
        break;
    case FrameFate::NotForGuest:
        comment.Add("not for the guest");
        break;
    case FrameFate::Answered:
        comment.Add("answered");
        break;
    case FrameFate::AnswerFailed:
        comment.Add("for the guest, but its answer could not be written");
        break;
    case FrameFate::Reply:
        AddReply(comment, verdict);
        break;
    case FrameFate::ReplyToNoPing:
        comment.Add("a reply to no ping of this test");
        break;
    case FrameFate::Request:
        comment.Add("ping #{} to ", verdict.number).AddAddress(verdict.station);
        break;
    }
    if (frame.failure != 0) {
        comment.Add("{}could not be written; errno={}: {}", comment.Text().empty() ? "" : ": ", frame.failure,
                    ToUtf8(StrError(frame.failure)));
    }
    return comment.Text();
}

} // namespace vnxtest
