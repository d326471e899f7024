// What is known of a guest and its host at one moment, as the advice needs it.
#pragma once

#include "advice/observations.h"
#include "guest/guest.h"

namespace vnxtest {

// Also while the guest runs. Asks nobody and waits for nothing. User-interface thread.
Observations Observe(const Guest& guest);

} // namespace vnxtest
