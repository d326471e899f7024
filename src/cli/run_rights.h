// The rights of a run once its guest runs. The guest is started once, so the rights to open an interface are
// not needed any more; a library from a file may still need rights to the network. Main thread.
#pragma once

#include <string>

#include "cli/options/options.h"

namespace vnxtest {

class RunRights {
public:
    explicit RunRights(const Options& options) : m_options(options) {}

    // All interfaces are open: gives up what is not needed any more. `run` enters the sandbox, too.
    void OnInterfacesOpened();
    // The last step, when the needs of the guest and of a running ping test are known. Those of a library
    // from a file are not.
    void EnterSandbox();

    bool AreGivenUp() const { return m_givenUp; }
    // Why the run must not go on; empty if it may.
    const std::wstring& Problem() const { return m_problem; }

private:
    const Options& m_options;
    bool m_givenUp = false;
    std::wstring m_problem;
};

} // namespace vnxtest
