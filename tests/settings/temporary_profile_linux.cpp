#include <cstdlib>
#include <stdexcept>

#include "settings/temporary_profile.h"

namespace vnxtest {

TemporaryProfile::TemporaryProfile() {
    std::string name = std::filesystem::temp_directory_path() / "vnxtest-profile-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_folder = name;
    setenv("XDG_CONFIG_HOME", m_folder.c_str(), 1);
}

TemporaryProfile::~TemporaryProfile() {
    unsetenv("XDG_CONFIG_HOME");
    std::filesystem::remove_all(m_folder);
}

} // namespace vnxtest
