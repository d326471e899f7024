// Waiting for the writers at the end: all text is written, or given up after an interrupt. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/messages/interruption.h"
#include "cli/output/background_writer.h"
#include "platform/files/atomic_file.h"

namespace vnxtest {

// Waits until all writers are done. After an interrupt a reader gets 300 ms for the queue and 150 ms more
// for its last lines; an ordinary file is waited for. Each writer must post a message when it ends.
void AwaitWriters(const std::vector<BackgroundWriter*>& writers, Interruption& interruption);

// Writes the whole `text` into `file`, moves it into place, and waits as AwaitWriters does. Whole sentences,
// beginning with `what`, if that failed; else empty. `onEnd` posts the message, on any thread.
std::wstring WriteWhole(const std::shared_ptr<AtomicFile>& file, std::string text, const std::wstring& what,
                        Interruption& interruption, std::function<void()> onEnd);

} // namespace vnxtest
