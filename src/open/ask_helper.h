// Asks the helper `vnxtest-open` for what this process may not open itself.
#pragma once

#include <string>

#include "open/open_request.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

struct HelperAnswer {
    Descriptor descriptor;
    int error = 0;       // 0: the descriptor is there; else an errno value
    std::string problem; // whole sentences: why the helper did not do it; empty when the error says it all
};

// Runs the helper once and waits for its end, some seconds at most. Any thread.
HelperAnswer AskHelper(const OpenRequest& request);

// `name` as a request has it; all zeroes when it is too long for an adapter's.
AdapterName ToAdapterName(const std::string& name);

// The reason, and what its user can do, as whole sentences.
std::string Explain(Refusal refusal);

} // namespace vnxtest
