#include "cli/run_rights.h"

#include "platform/process/privileges.h"
#include "platform/process/sandbox.h"

namespace vnxtest {

void RunRights::OnInterfacesOpened() {
    const bool saves = m_options.outputFile || !m_options.jsonFile.empty() || m_options.save;
    m_givenUp = true;
    const auto given = GiveUpPrivileges({.network = m_options.UsesLibraryFile(), .files = saves});
    if (!given) {
        m_problem = given.error().Describe();
    } else if (m_options.command == Command::Run) {
        EnterSandbox();
    }
}

void RunRights::EnterSandbox() {
    const auto entered =
        vnxtest::EnterSandbox({.everything = m_options.noSandbox || m_options.UsesLibraryFile(),
                               .files = m_options.outputFile || !m_options.jsonFile.empty()});
    if (!entered) {
        m_problem = entered.error().Describe();
    }
}

} // namespace vnxtest
