// An empty profile of its own for one test: the user's real one is neither read nor written.
#pragma once

#include <filesystem>
#include <string>

namespace vnxtest {

class TemporaryProfile {
public:
    TemporaryProfile();
    ~TemporaryProfile();
    TemporaryProfile(const TemporaryProfile&) = delete;
    TemporaryProfile& operator=(const TemporaryProfile&) = delete;

    // From now on nothing can be written, whoever runs the test.
    void MakeUnwritable();

    // The folder under which everything lies; unused where the profile is no file.
    const std::filesystem::path& Folder() const { return m_folder; }
    // The profile's file.
    std::filesystem::path File() const { return m_folder / "VNXTest64UD" / "VNXTest64UD.conf"; }

private:
    std::filesystem::path m_folder;
    std::string m_before;
    bool m_wasSet = false;
};

} // namespace vnxtest
