#include "cli/advice_teller.h"

#include <algorithm>
#include <utility>

#include "cli/output/console.h"

namespace vnxtest {

namespace {
constexpr std::chrono::seconds kPatience(5);
} // namespace

void AdviceTeller::Tell(Findings findings) {
    m_latest = std::move(findings);
    for (const Finding& finding : m_latest) {
        const auto same = [&finding](const Finding& told) { return told.IsSameAs(finding); };
        if (std::ranges::none_of(m_told, same)) {
            Complain(L"advice: " + finding.Text());
            m_told.push_back(finding);
        }
    }
}

void AdviceTeller::NoteTold(std::string_view id, int interfaceNumber) {
    Finding& told = m_told.emplace_back();
    told.id = id;
    told.interfaceNumber = interfaceNumber;
}

void AdviceTeller::BeginWatch() {
    m_nextLook = std::chrono::steady_clock::now() + kPatience;
    m_answered = 0;
}

bool AdviceTeller::IsQuiet(std::uint64_t answered) {
    m_nextLook = std::chrono::steady_clock::now() + kPatience;
    return std::exchange(m_answered, answered) == answered;
}

} // namespace vnxtest
