#include "advice/advice.h"

#include <algorithm>

#include "advice/rules.h"

namespace vnxtest {

namespace {

struct Rule {
    std::string_view id; // also the place on the help page
    Severity severity;
    SeenList (*see)(const Observations&);
};

// A row a finding; those of one severity are told in this order.
constexpr Rule kRules[] = {
    {"adapter-down", Severity::Problem, SeeAdapterDown},
    {"no-carrier", Severity::Problem, SeeLostCarrier},
    {"address-in-use", Severity::Problem, SeeAddressInUse},
    {"mac-in-use", Severity::Problem, SeeMacInUse},
    {"gateway-silent", Severity::Problem, SeeSilentGateway},
    {"target-silent", Severity::Problem, SeeSilentTarget},
    {"guest-address-reserved", Severity::Problem, SeeReservedGuestAddress},
    {"guests-alike", Severity::Problem, SeeGuestsAlike},
    {"target-on-this-host", Severity::Problem, SeeTargetOnThisHost},
    {"no-gateway", Severity::Problem, SeeNoGateway},
    {"host-does-not-forward", Severity::Problem, SeeNoForwarding},
    {"host-does-not-answer-arp", Severity::Problem, SeeNoProxyArp},
    {"no-frames", Severity::Problem, SeeNoFrames},
    {"dont-fragment-requests", Severity::Problem, SeeDontFragmentRequests},
    {"requests-without-data", Severity::Problem, SeeRequestsWithoutData},
    {"bad-checksums", Severity::Problem, SeeBadChecksums},
    {"vlan-tags", Severity::Problem, SeeVlanTags},
    {"dont-fragment-replies", Severity::Problem, SeeDontFragmentReplies},
    {"too-large-for-a-link", Severity::Problem, SeeTooLarge},
    {"destination-unreachable", Severity::Problem, SeeUnreachable},
    {"guest-outside-subnet", Severity::Warning, SeeGuestOutsideSubnet},
    {"capture-buffer-overflowed", Severity::Warning, SeeFullBuffer},
    {"large-pings-lost", Severity::Warning, SeeLargePingsLost},
    {"late-replies", Severity::Warning, SeeLateReplies},
    {"loss-in-bursts", Severity::Warning, SeeLossInBursts},
    {"steady-loss", Severity::Warning, SeeSteadyLoss},
    {"fragments", Severity::Warning, SeeFragments},
    {"requests-with-ip-options", Severity::Warning, SeeRequestsWithOptions},
    {"foreign-replies", Severity::Warning, SeeForeignReplies},
    {"frames-beyond-mtu", Severity::Warning, SeeFramesBeyondMtu},
};

} // namespace

Findings Advise(const Observations& observations) {
    Findings findings;
    for (const Rule& rule : kRules) {
        for (Seen& seen : rule.see(observations)) {
            Finding finding{rule.id,
                            rule.severity,
                            seen.interfaceNumber,
                            std::move(seen.seen),
                            std::move(seen.means),
                            std::move(seen.action),
                            std::move(seen.evidence)};
            const bool known = std::ranges::any_of(
                findings, [&finding](const Finding& other) { return other.IsSameAs(finding); });
            if (!known && !finding.evidence.empty()) {
                findings.push_back(std::move(finding));
            }
        }
    }
    std::ranges::stable_sort(findings, {}, &Finding::severity);
    return findings;
}

std::wstring_view NameOf(Severity severity) {
    switch (severity) {
    case Severity::Problem:
        return L"problem";
    case Severity::Warning:
        return L"warning";
    case Severity::Info:
        break;
    }
    return L"info";
}

std::string Finding::Page() const {
    return "advice.html#" + std::string(id);
}

std::wstring Finding::Text() const {
    return seen + L" " + means + L" " + action;
}

} // namespace vnxtest
