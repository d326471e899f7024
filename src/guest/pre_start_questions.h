// The questions before a start, and their texts.
//
// The texts live as long as the program. User-interface thread.
#pragma once

#include "guest/front_end.h"

namespace vnxtest {

// Neither gateway nor forwarding, in two steps: first in general, then for a guest that is outside its
// adapter's subnet.
const ProceedQuestion& UndefinedGatewayQuestion();
const ProceedQuestion& UndefinedGatewayOtherSubnetQuestion();

// A guest outside its adapter's subnet, where a gateway is known or, without one, the host forwards.
const ProceedQuestion& OtherSubnetQuestion(bool gatewayKnown);

} // namespace vnxtest
