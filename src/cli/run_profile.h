// The user's profile for one run of the terminal program; counts failed writes. Main thread.
#pragma once

#include <string>

#include "cli/output/console.h"
#include "platform/files/profile.h"

namespace vnxtest {

class RunProfile final : public Profile {
public:
    // `profile` must outlive this.
    explicit RunProfile(Profile& profile) : m_profile(profile) {}

    // Writes that failed so far.
    int FailedWrites() const { return m_failedWrites; }
    // Warns of what is wrong with the profile, once.
    void TellProblem() {
        if (const std::wstring problem = LastProblem(); problem != m_toldProblem) {
            m_toldProblem = problem;
            Complain(L"warning: the profile: " + problem);
        }
    }

    std::uint32_t ReadNumber(std::wstring_view name, std::uint32_t defaultValue) override {
        return m_profile.ReadNumber(name, defaultValue);
    }
    std::wstring ReadText(std::wstring_view name, std::wstring_view defaultValue) override {
        return m_profile.ReadText(name, defaultValue);
    }
    bool WriteNumber(std::wstring_view name, std::uint32_t value) override {
        return Count(m_profile.WriteNumber(name, value));
    }
    bool WriteText(std::wstring_view name, std::wstring_view value) override {
        return Count(m_profile.WriteText(name, value));
    }
    std::wstring Location() const override { return m_profile.Location(); }
    std::wstring LastProblem() const override { return m_profile.LastProblem(); }

private:
    bool Count(bool written) {
        m_failedWrites += written ? 0 : 1;
        return written;
    }

    Profile& m_profile;
    int m_failedWrites = 0;
    std::wstring m_toldProblem;
};

} // namespace vnxtest
