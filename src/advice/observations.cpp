#include "advice/observations.h"

#include <algorithm>

namespace vnxtest {

const InterfaceObservations* Observations::UnansweredInterface() const {
    const auto found = std::ranges::find(interfaces, pingInterface, &InterfaceObservations::number);
    return ping && ping->IsUnanswered() && found != interfaces.end() ? &*found : nullptr;
}

} // namespace vnxtest
