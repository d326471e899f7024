// Asks the helper `vnxtest-open` for what this process may not open itself.
#pragma once

#include <string>

#include "open/open_request.h"
#include "wrenlib/descriptor_linux.h"
#include "wrenlib/failure.h"

namespace vnxtest {

// Runs the helper once, waits for its answer for at most 15 seconds and ends its process. A failure has an
// errno value, EPERM if the helper cannot be run or does not answer; its text is whole sentences, why it was
// not done, and empty if the errno value says it all. Any thread.
Result<Descriptor> AskHelper(const OpenRequest& request);

// `name` as a request has it; all zeroes if it is too long for an adapter's.
AdapterName ToAdapterName(const std::string& name);

// The reason and the next step, as whole sentences.
std::string Explain(Refusal refusal);

} // namespace vnxtest
