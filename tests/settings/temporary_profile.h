// An empty profile for one test, on systems where it is a file: the user's real one is neither read nor
// written.
#pragma once

#include <cstdlib>
#include <filesystem>

namespace vnxtest {

class TemporaryProfile {
public:
    TemporaryProfile() {
        std::string name = std::filesystem::temp_directory_path() / "vnxtest-profile-XXXXXX";
        m_folder = mkdtemp(name.data());
        setenv("XDG_CONFIG_HOME", m_folder.c_str(), 1);
    }
    ~TemporaryProfile() {
        unsetenv("XDG_CONFIG_HOME");
        std::filesystem::remove_all(m_folder);
    }
    TemporaryProfile(const TemporaryProfile&) = delete;
    TemporaryProfile& operator=(const TemporaryProfile&) = delete;

    // The folder under which everything lies.
    const std::filesystem::path& Folder() const { return m_folder; }
    // The profile's file.
    std::filesystem::path File() const { return m_folder / "VNXTest64UD" / "VNXTest64UD.conf"; }

private:
    std::filesystem::path m_folder;
};

} // namespace vnxtest
