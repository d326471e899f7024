// Profile files: any content yields values when read; a written value is read again, or a problem is told;
// no other value is lost.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "fuzz_input.h"
#include "platform/files/profile.h"
#include "settings/settings.h"

namespace {

using namespace vnxtest;

std::filesystem::path MakeFolder() {
    const bool memory = std::filesystem::is_directory("/dev/shm");
    std::string name = std::string(memory ? "/dev/shm" : "/tmp") + "/vnxtest-fuzz-XXXXXX";
    Claim(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
    setenv("XDG_CONFIG_HOME", name.c_str(), 1);
    static const std::string folder = name;
    std::atexit([] { std::filesystem::remove_all(folder); });
    std::filesystem::create_directory(folder + "/VNXTest64UD");
    return folder + "/VNXTest64UD/VNXTest64UD.conf";
}

// The values that the program reads.
auto Values(Profile& profile) {
    PingPlan ping;
    Settings(profile).LoadPingSettings(ping);
    return std::tuple(profile.ReadText(L"Interface1_strInterface_MACAddr", L"none"), ping.targetName,
                      ping.numPings, ping.delay);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path file = MakeFolder();
    static const auto keepsTheToolkit = OpenProfile();
    std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<long>(size));
    const auto profile = OpenProfile();
    const auto before = Values(*profile);
    const bool sound = profile->LastProblem().empty();
    const std::wstring value = std::get<1>(before) + L"x";
    const bool written = profile->WriteText(L"Interface2_strInterface_MACAddr", value);
    Claim(written || !profile->LastProblem().empty(), "a refusal says why");

    const auto again = OpenProfile();
    Claim(Values(*again) == before, "the other values are kept");
    Claim(!written || again->ReadText(L"Interface2_strInterface_MACAddr", L"") == value, "it was written");
    Claim(!sound || !written || again->LastProblem().empty(), "a sound file stays sound");
    return 0;
}
