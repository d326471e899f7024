// Requests to stop the program: the first one ends it in order, a second one at once.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "cli/messages/message_queue.h"
#include "platform/process/stop_signal.h"

namespace vnxtest {

// From now on the first request posts an interrupt to `queue`, and a question how it stands is posted there,
// too; at a second request the program removes `temporaryFiles` (a path may be empty) and ends with status 2.
// Fails as StopSignal::Begin does.
Result<std::unique_ptr<StopSignal>> TakeStopRequests(MessageQueue& queue,
                                                     std::vector<std::filesystem::path> temporaryFiles);

} // namespace vnxtest
