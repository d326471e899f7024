// The rules: pure functions over the observations. A finding is a row of the table in advice.cpp.
#pragma once

#include <vector>

#include "advice/finding.h"
#include "advice/observations.h"

namespace vnxtest {

// What a rule has seen, once an interface at most.
struct Seen {
    int interfaceNumber = 0;
    std::wstring seen, means, action;
    Evidence evidence; // not empty
};
using SeenList = std::vector<Seen>;

// Of pings for the guest that were ignored, and of errors that came in the place of replies
// (request_rules.cpp).
SeenList SeeDontFragmentRequests(const Observations& observations);
SeenList SeeRequestsWithoutData(const Observations& observations);
SeenList SeeFragments(const Observations& observations);
SeenList SeeBadChecksums(const Observations& observations);
SeenList SeeRequestsWithOptions(const Observations& observations);
SeenList SeeVlanTags(const Observations& observations);
SeenList SeeDontFragmentReplies(const Observations& observations);
SeenList SeeForeignReplies(const Observations& observations);
SeenList SeeTooLarge(const Observations& observations);
SeenList SeeUnreachable(const Observations& observations);

// Of what the library has noticed of the wire (wire_rules.cpp).
SeenList SeeAddressInUse(const Observations& observations);
SeenList SeeMacInUse(const Observations& observations);
SeenList SeeSilentTarget(const Observations& observations);
SeenList SeeSilentGateway(const Observations& observations);
SeenList SeeLostCarrier(const Observations& observations);
SeenList SeeAdapterDown(const Observations& observations);
SeenList SeeFramesBeyondMtu(const Observations& observations);

// Of addresses beside those of the host (address_rules.cpp).
SeenList SeeTargetOnThisHost(const Observations& observations);
SeenList SeeNoForwarding(const Observations& observations);
SeenList SeeNoProxyArp(const Observations& observations);
SeenList SeeNoGateway(const Observations& observations);
SeenList SeeGuestOutsideSubnet(const Observations& observations);
SeenList SeeReservedGuestAddress(const Observations& observations);
SeenList SeeGuestsAlike(const Observations& observations);

// Of how a ping test went, and of frames that were not read (outcome_rules.cpp).
SeenList SeeLateReplies(const Observations& observations);
SeenList SeeLossInBursts(const Observations& observations);
SeenList SeeSteadyLoss(const Observations& observations);
SeenList SeeLargePingsLost(const Observations& observations);
SeenList SeeFullBuffer(const Observations& observations);
SeenList SeeNoFrames(const Observations& observations);

} // namespace vnxtest
