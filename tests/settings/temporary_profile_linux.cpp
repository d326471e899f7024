#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "settings/temporary_profile.h"

namespace vnxtest {

TemporaryProfile::TemporaryProfile() {
    std::string name = std::filesystem::temp_directory_path() / "vnxtest-profile-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_folder = name;
    if (const char* before = std::getenv("XDG_CONFIG_HOME")) {
        m_before = before;
        m_wasSet = true;
    }
    setenv("XDG_CONFIG_HOME", m_folder.c_str(), 1);
}

TemporaryProfile::~TemporaryProfile() {
    if (m_wasSet) {
        setenv("XDG_CONFIG_HOME", m_before.c_str(), 1);
    } else {
        unsetenv("XDG_CONFIG_HOME");
    }
    std::filesystem::remove_all(m_folder);
}

// Access rights do not stop root; a file where a folder must be does.
void TemporaryProfile::MakeUnwritable() {
    std::filesystem::remove_all(m_folder / "VNXTest64UD");
    std::ofstream(m_folder / "VNXTest64UD") << "in the way";
}

} // namespace vnxtest
