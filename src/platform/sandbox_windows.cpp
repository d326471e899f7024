#include "platform/sandbox.h"

namespace vnxtest {

bool HasSandbox() {
    return false;
}

bool EnterSandbox(const SandboxNeeds&, std::wstring&) {
    return true;
}

} // namespace vnxtest
