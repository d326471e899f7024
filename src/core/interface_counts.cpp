#include "core/interface_counts.h"

namespace vnxtest {

void InterfaceCounts::Clear() {
    for (auto& count : ignored) {
        count = 0;
    }
    echoRequestsAnswered = 0;
    arpRequestsAnswered = 0;
    rarpRequestsAnswered = 0;
    statistics.reset();
    droppedByDriver.reset();
}

} // namespace vnxtest
