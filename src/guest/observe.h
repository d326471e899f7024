// What is known of a guest and its host at one moment, as the advice needs it.
#pragma once

#include "advice/observations.h"
#include "guest/guest.h"

namespace vnxtest {

// Also while the guest runs, with `library`. Asks nobody and waits for nothing; of a ping test it takes the
// records that are kept (PingTest::KeepRecords, once it is over). User-interface thread.
Observations Observe(const Guest& guest, const VnetxLibrary& library);

} // namespace vnxtest
