// The one table of all help texts, by their ids: the standard texts (30100 to 30196) and those of this
// program's windows. A text is the balloon's body, a line break, its title.
#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace vnxtest {

// Standard texts that code names.
inline constexpr int kTextWhatsThisHelp = 30100;   // the name of the mode
inline constexpr int kTextHelpUnavailable = 30101; // the title of the fallback
inline constexpr int kTextNoHelp = 30103;          // the body of the fallback, %d the control's number

struct HelpString {
    int id;
    std::wstring_view text;
};

// All texts in the order of their ids. Each table is ordered too: first the program's, then the standard.
std::span<const HelpString> ProgramHelpStrings();
std::span<const HelpString> StandardHelpStrings();

// The text with this id, or nothing.
std::optional<std::wstring_view> FindHelpString(int id);

} // namespace vnxtest
