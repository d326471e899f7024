// An empty profile of its own for one test: the user's real one is neither read nor written.
#pragma once

#include <filesystem>

namespace vnxtest {

class TemporaryProfile {
public:
    TemporaryProfile();
    ~TemporaryProfile();
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
