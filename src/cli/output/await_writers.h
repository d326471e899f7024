// Waiting for the writers at the end: all text is written, or given up after an interrupt. Main thread.
#pragma once

#include <vector>

#include "cli/messages/interruption.h"
#include "cli/output/background_writer.h"

namespace vnxtest {

// Waits until all writers are done. After an interrupt a reader gets 300 ms for the queue and 150 ms more
// for its last lines; an ordinary file is waited for. Each writer must post a message when it ends.
void AwaitWriters(const std::vector<BackgroundWriter*>& writers, Interruption& interruption);

} // namespace vnxtest
