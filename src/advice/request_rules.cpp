// The rules about echo requests for the guest that were ignored.
#include "advice/rules.h"
#include "advice/wording.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// One kind of ignored pings. `seen` has places for how many and for the guest.
SeenList SeeIgnored(const Observations& observations, IgnoredPing kind, std::wstring_view noun,
                    const wchar_t* seen, const wchar_t* means, const wchar_t* action) {
    SeenList list;
    for (const InterfaceObservations& guest : observations.interfaces) {
        const IgnoredPings::Kind& ignored = guest.Ignored(kind);
        if (ignored.count == 0) {
            continue;
        }
        list.push_back({guest.number,
                        Sprintf(seen, Counted(ignored.count, noun), NameOfGuest(observations, guest),
                                ignored.count == 1 ? std::wstring(L"was") : std::wstring(L"were"),
                                Enumerated(ignored.senders)),
                        means,
                        action,
                        {{"count", ignored.count}, {"senders", TextsOf(ignored.senders)}}});
    }
    return list;
}

} // namespace

SeenList SeeDontFragmentRequests(const Observations& observations) {
    return SeeIgnored(
        observations, IgnoredPing::RequestDontFragment, L"echo request",
        L"%s for %s %s ignored for the Don't-Fragment bit alone, last from %s.",
        L"The guest takes a packet with that bit for a fragment and does not answer it, so the sender takes the guest for dead. Linux sets the bit in what its ping and most other programs send; Windows does not.",
        L"Ping without the bit: on Linux with \"ping -M dont\".");
}

SeenList SeeRequestsWithoutData(const Observations& observations) {
    return SeeIgnored(
        observations, IgnoredPing::RequestWithoutData, L"echo request",
        L"%s for %s %s ignored for being without data (\"Too tiny\"), last from %s.",
        L"The guest answers a ping only if it carries at least one byte. Scanners such as nmap -PE, nping and hping3 send none unless they are told to, and take the guest for dead.",
        L"Have the sender put data in: nmap -PE --data-length 32, nping --icmp --data-length 32, hping3 -1 -d 32, fping -b 32, ping -s 32.");
}

} // namespace vnxtest
