// What was found out about a run: what was seen, what it means, and what to do. A plain value, made by the
// rules and shown by the front ends; never a part of the document.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vnxtest {

enum class Severity { Problem, Warning, Info };
// "problem", "warning", "info".
std::wstring_view NameOf(Severity severity);

using EvidenceValue = std::variant<std::uint64_t, bool, std::wstring, std::vector<std::wstring>>;
// Names and values, in the manner of the JSON's fields.
using Evidence = std::vector<std::pair<std::string, EvidenceValue>>;

struct Finding {
    std::string_view id; // stable: "dont-fragment-requests"
    Severity severity = Severity::Info;
    int interfaceNumber = 0; // 1 or 2; 0: the finding is about no single interface
    // Whole sentences.
    std::wstring seen; // with the figures
    std::wstring means;
    std::wstring action; // what to do
    Evidence evidence;

    // The topic of the help book: a page and the place on it.
    std::string Page() const;
    // The three texts, one after the other.
    std::wstring Text() const;
    // Findings of one id and one interface are the same; the figures grow.
    bool IsSameAs(const Finding& other) const {
        return id == other.id && interfaceNumber == other.interfaceNumber;
    }
};

using Findings = std::vector<Finding>;

} // namespace vnxtest
