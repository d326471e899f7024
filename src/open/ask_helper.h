// Asks the helper `vnxtest-open` for what this process may not open itself.
#pragma once

#include <string>

#include "open/open_request.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

struct HelperAnswer {
    Descriptor descriptor;
    int error = 0;       // 0: the descriptor is there; else an errno value
    std::string problem; // whole sentences: why it was not done; empty if the errno value says it all
};

// Runs the helper once, waits for its answer for at most 15 seconds and ends its process. EPERM if it
// cannot be run or does not answer. Any thread.
HelperAnswer AskHelper(const OpenRequest& request);

// `name` as a request has it; all zeroes if it is too long for an adapter's.
AdapterName ToAdapterName(const std::string& name);

// The reason and the next step, as whole sentences.
std::string Explain(Refusal refusal);

} // namespace vnxtest
