// The user's profile as one run of the terminal program sees it.
//
// On the simulated LAN stored addresses lead nowhere, for they belong to the real adapters that they
// were stored with: they are left out of what is read, and the defaults are derived from the
// simulated adapter. What is written goes to the user's profile, and failures are counted.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "hostnet/host_network.h"
#include "platform/profile.h"

namespace vnxtest {

class RunProfile final : public Profile {
public:
    // `profile` must outlive this.
    explicit RunProfile(Profile& profile) : m_profile(profile) {}

    // Leaves out the stored addresses of each interface that is not bound to the default adapter of
    // `host`, the simulated one.
    void LeaveOutRealAddresses(const HostNetwork& host);
    // There was something to leave out for interface 1 or 2 (`index` 0 or 1).
    bool LeavesOut(std::size_t index) const { return m_leftOut[index]; }

    // Writes that failed so far.
    int FailedWrites() const { return m_failedWrites; }

    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override;
    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override;
    bool WriteNumber(std::wstring_view name, std::uint32_t value) override;
    bool WriteText(std::wstring_view name, std::wstring_view value) override;
    std::wstring Location() const override { return m_profile.Location(); }
    std::wstring LastProblem() const override { return m_profile.LastProblem(); }

private:
    bool Count(bool written);

    Profile& m_profile;
    std::vector<std::wstring> m_hidden; // names of values
    std::array<bool, 2> m_leftOut{};
    int m_failedWrites = 0;
};

} // namespace vnxtest
