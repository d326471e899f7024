// The end of what writes: everything gets where it belongs, or is given up after an interrupt. Main thread.
#pragma once

#include <vector>

#include "cli/messages/interruption.h"
#include "cli/output/background_writer.h"

namespace vnxtest {

// Waits until all of them are done. After an interrupt a reader gets a moment for what waits and another
// one for its last lines; a file on a disk is waited for. Each posts a message when it ends.
void AwaitWriters(const std::vector<BackgroundWriter*>& writers, Interruption& interruption);

} // namespace vnxtest
