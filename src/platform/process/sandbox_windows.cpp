#include "platform/process/sandbox.h"

namespace vnxtest {

bool HasSandbox() {
    return false;
}

void PrepareSandbox() {}

Result<void> EnterSandbox(const SandboxNeeds&) {
    return {};
}

} // namespace vnxtest
