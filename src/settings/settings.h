// The persistent settings and their derived defaults.
//
// Interface values are read once per run, at the first start; ping values once per run, at the first ping
// test; debug values when the guest is made. No failure ends the program: a failed write or a text that
// cannot be converted is an assertion line, and the value in memory stays. User-interface thread only.
#pragma once

#include "core/interface_info.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "platform/files/profile.h"
#include "settings/derived_address.h"

namespace vnxtest {

// Converts every non-empty text of both records into its address.
void ApplyInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2);

class Settings {
public:
    explicit Settings(Profile& profile) : m_profile(profile) {}

    // Reads the ten interface values with their derived defaults. No effect after the first call.
    void LoadInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2,
                               const AddressSources& sources);
    // Writes the ten interface values.
    void StoreInterfaceSettings(const InterfaceParameters& interface1, const InterfaceParameters& interface2);

    void ReadDebugSettings(RunSettings& settings);
    // "DebugMode", then "DebugFlags".
    void StoreDebugSettings(const RunSettings& settings);
    // "SocketNotifyMode".
    void StoreSocketNotifyMode(const RunSettings& settings);

    // Reads the six values of the ping test with the given ones as defaults. No effect after the first
    // call.
    void LoadPingSettings(PingPlan& plan);
    void StorePingSettings(const PingPlan& plan);

private:
    Profile& m_profile;
    bool m_interfacesLoaded = false;
    bool m_pingLoaded = false;
};

} // namespace vnxtest
