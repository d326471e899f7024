// The per-user profile: numbers and texts by name, in the section "Settings" or in that of the simulated LAN.
//
// On Windows it is the registry key of the program under HKEY_CURRENT_USER, elsewhere a file of the same
// section and value names under the user's configuration folder. Reading never fails: a missing or damaged
// value yields the default. User-interface thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

class Profile {
public:
    virtual ~Profile() = default;

    virtual std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) = 0;
    virtual std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) = 0;
    // False, with LastProblem(), if the value could not be stored.
    virtual bool WriteNumber(std::wstring_view name, std::uint32_t value) = 0;
    virtual bool WriteText(std::wstring_view name, std::wstring_view value) = 0;

    // Where the profile is, for messages: a file's path or a registry key.
    virtual std::wstring Location() const = 0;
    // One sentence about the last failure (a damaged file, a folder that cannot be written); empty if there
    // was none.
    virtual std::wstring LastProblem() const = 0;
};

// "Settings", and "SimulatedLan": the addresses of a guest on the simulated LAN fit no real network, and
// its tests must not change the user's settings.
enum class ProfileSection { Settings, SimulatedLan };
// The sections' names, by ProfileSection.
inline constexpr const wchar_t* kProfileSections[] = {L"Settings", L"SimulatedLan"};

// Opens a section of the user's profile. A profile that does not exist yet is empty, and is made by the first
// write.
std::unique_ptr<Profile> OpenProfile(ProfileSection section = ProfileSection::Settings);

// The files of the user's profile, its lock included; they need not exist. Empty if it is not kept in
// files.
std::vector<std::filesystem::path> ProfileFiles();

} // namespace vnxtest
