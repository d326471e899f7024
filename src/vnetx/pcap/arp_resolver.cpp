#include "vnetx/pcap/arp_resolver.h"

#include <algorithm>
#include <cerrno>

#include "packets/arp_packet.h"
#include "vnetx/driver/reading_thread.h"
#include "vnetx/failure.h"

namespace vnxtest {
namespace {

using Clock = NeighbourTable::Clock;

constexpr std::uint32_t kSnapshotLength = 128;
constexpr std::uint32_t kBufferSize = 64 * 1024;
constexpr std::size_t kMostAsked = 256;

std::unique_ptr<Capture> OpenCapture(const std::string& device, CaptureOptions::Wanted wanted,
                                     const std::function<void(const std::string&)>& tell) {
    CaptureOptions options;
    options.device = device;
    options.snapshotLength = kSnapshotLength;
    options.bufferSize = kBufferSize;
    options.wanted = wanted;
    options.tell = tell;
    return Capture::Open(options);
}

ArpFrame Question(const ArpResolver::Asker& asker, Ipv4Address address) {
    return MakeArpFrame(MacAddress::Broadcast(),
                        {ArpOperation::Request, asker.mac, asker.ip, MacAddress(), address});
}

std::uint64_t Image(MacAddress mac) {
    std::uint64_t image = 0;
    std::memcpy(&image, mac.Bytes().data(), 6);
    return image;
}

} // namespace

// A question, and its answer once it has come.
struct ArpResolver::Exchange {
    Asker asker;
    Ipv4Address address; // asked for, or the answer to a RARP request
    MacAddress mac;      // the answer, or what a RARP request asks for
    bool reverse = false;
    bool answered = false;

    static void OnFrame(void* user, const CapturedFrame& frame) {
        static_cast<Exchange*>(user)->Look({frame.bytes, frame.captured});
    }

    void Look(std::span<const std::uint8_t> frame) {
        const auto ethernet = ConstEthernetView::Over(frame);
        const auto arp = ethernet ? ConstArpView::OverEthernetIpv4(frame.subspan(ConstEthernetView::kLength))
                                  : std::nullopt;
        if (!arp || answered) {
            return;
        }
        if (reverse) {
            if (ethernet->EtherType() == kEtherTypeRarp && arp->Operation() == ArpOperation::ReverseReply &&
                arp->TargetHardwareAddress() == mac && !arp->TargetProtocolAddress().IsZero()) {
                address = arp->TargetProtocolAddress();
                answered = true;
            }
        } else if (ethernet->EtherType() == kEtherTypeArp && arp->Operation() == ArpOperation::Reply &&
                   arp->SenderProtocolAddress() == address && arp->TargetHardwareAddress() == asker.mac &&
                   !arp->SenderHardwareAddress().IsZero() && !arp->SenderHardwareAddress().IsGroup()) {
            mac = arp->SenderHardwareAddress();
            answered = true;
        }
    }
};

std::unique_ptr<ArpResolver> ArpResolver::Open(const std::string& device, NeighbourTable& table,
                                               SentFunction sent,
                                               const std::function<void(const std::string&)>& tell) {
    std::unique_ptr<ReaderGate> gate = ReaderGate::Make(false);
    if (!gate) {
        Fail(errno);
        return nullptr;
    }
    std::unique_ptr<Capture> capture = OpenCapture(device, CaptureOptions::Wanted::ArpReplies, tell);
    if (!capture) {
        return nullptr;
    }
    std::unique_ptr<Capture> reverseCapture =
        OpenCapture(device, CaptureOptions::Wanted::ReverseArpReplies, tell);
    if (!reverseCapture) {
        return nullptr;
    }
    return std::unique_ptr<ArpResolver>(new ArpResolver(table, std::move(sent), std::move(capture),
                                                        std::move(reverseCapture), std::move(gate)));
}

std::vector<std::unique_ptr<Capture>> ArpResolver::TakeCaptures() {
    std::vector<std::unique_ptr<Capture>> captures;
    captures.push_back(std::move(m_capture));
    captures.push_back(std::move(m_reverseCapture));
    return captures;
}

void ArpResolver::Send(Capture& capture, std::span<const std::uint8_t> frame) {
    if (capture.Send(frame.data(), static_cast<std::uint32_t>(frame.size())) == 0) {
        m_sent(frame);
    }
}

void ArpResolver::NoteAsked(Ipv4Address address) {
    const auto now = Clock::now();
    const std::lock_guard lock(m_askedMutex);
    std::erase_if(m_asked, [&](const auto& old) {
        return old.first == address || now - old.second > std::chrono::seconds(1);
    });
    if (m_asked.size() < kMostAsked) {
        m_asked.emplace_back(address, now);
    }
}

bool ArpResolver::HasAsked(Ipv4Address address) {
    const auto now = Clock::now();
    const std::lock_guard lock(m_askedMutex);
    return std::any_of(m_asked.begin(), m_asked.end(), [&](const auto& asked) {
        return asked.first == address && now - asked.second <= std::chrono::seconds(1);
    });
}

// Limits the questions of reading threads, whose number would otherwise be set by the senders of frames. A
// true result counts as one question.
bool ArpResolver::MayReaderAsk() {
    const auto now = Clock::now();
    const std::lock_guard lock(m_askedMutex);
    auto& asked = m_askedByReaders;
    while (!asked.empty() && now - asked.front() >= std::chrono::seconds(1)) {
        asked.pop_front();
    }
    if (asked.size() >= kMostASecond ||
        (asked.size() >= kMostAtATime && now - asked[asked.size() - kMostAtATime] < kExchangeTime)) {
        return false;
    }
    asked.push_back(now);
    return true;
}

bool ArpResolver::Ask(const Asker& asker, Ipv4Address address) {
    if (reading_thread::IsOne() && !MayReaderAsk()) {
        return false;
    }
    NoteAsked(address);
    Send(*m_capture, Question(asker, address));
    return true;
}

// Sends the question, once more after kRepeatAfter, and takes frames until the answer has come or
// kExchangeTime is over.
bool ArpResolver::Run(Capture& capture, Exchange& exchange, std::span<const std::uint8_t> question) {
    // Frames since the last exchange are no answer to this one.
    const auto discard = [](void*, const CapturedFrame&) {};
    while (capture.Dispatch(-1, discard, nullptr) > 0) {
    }
    const auto start = Clock::now();
    bool repeated = false;
    Send(capture, question);
    for (;;) {
        const auto elapsed = Clock::now() - start;
        if (elapsed >= kExchangeTime) {
            return false;
        }
        if (!repeated && elapsed >= kRepeatAfter) {
            repeated = true;
            Send(capture, question);
        }
        const auto until = repeated ? kExchangeTime : kRepeatAfter;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - elapsed).count();
        if (m_gate->Wait(capture.GetWaitObject(), static_cast<int>(left)) == ReaderGate::WaitResult::Failed ||
            capture.Dispatch(-1, &Exchange::OnFrame, &exchange) < 0) {
            return false;
        }
        if (exchange.answered) {
            return true;
        }
    }
}

MacAddress ArpResolver::Resolve(const Asker& asker, Ipv4Address address) {
    using State = NeighbourTable::State;
    NeighbourTable::Answer known = m_table.Find(address);
    if (known.state == State::Unknown) {
        const std::lock_guard lock(m_exchangeMutex);
        known = m_table.Find(address); // another thread may have asked meanwhile
        if (known.state == State::Unknown) {
            NoteAsked(address);
            Exchange exchange{asker, address, {}};
            if (!Run(*m_capture, exchange, Question(asker, address))) {
                m_table.NoteUnanswered(address);
                return m_table.Find(address).mac;
            }
            m_table.Learn(address, exchange.mac);
            return exchange.mac;
        }
    }
    if (known.refresh) {
        Ask(asker, address);
    }
    return known.mac;
}

Ipv4Address ArpResolver::ResolveReverse(const Asker& asker, MacAddress mac) {
    if (mac.IsZero() || mac.IsGroup()) {
        return {};
    }
    const std::lock_guard lock(m_exchangeMutex);
    if (const Ipv4Address known = m_table.FindByMac(mac); !known.IsZero()) {
        return known;
    }
    const auto now = Clock::now();
    std::erase_if(m_silentMacs, [&](const auto& old) { return now - old.second > NeighbourTable::kSilence; });
    if (m_silentMacs.contains(Image(mac))) {
        return {};
    }
    const ArpFrame question = MakeArpFrame(
        MacAddress::Broadcast(), {ArpOperation::ReverseRequest, asker.mac, asker.ip, mac, Ipv4Address()});
    Exchange exchange{asker, {}, mac, true};
    if (!Run(*m_reverseCapture, exchange, question)) {
        m_silentMacs[Image(mac)] = now;
    }
    return exchange.address;
}

} // namespace vnxtest
