#include "platform/process/sandbox.h"

namespace vnxtest {

bool HasSandbox() {
    return false;
}

void PrepareSandbox() {}

bool EnterSandbox(const SandboxNeeds&, std::wstring&) {
    return true;
}

} // namespace vnxtest
