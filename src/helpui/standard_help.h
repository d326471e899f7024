// The standard texts of the balloon help (30100 to 30196): what every window shows for its standard buttons
// and for the parts of its frame.
#pragma once

#include <span>
#include <string_view>

namespace vnxtest {

// The numbers of the standard buttons, whatever the toolkit's ids are.
namespace standard_button {
inline constexpr int kOk = 1;
inline constexpr int kCancel = 2;
inline constexpr int kHelp = 9;
inline constexpr int kApply = 0x3021;
inline constexpr int kBack = 0x3023;
inline constexpr int kNext = 0x3024;
inline constexpr int kFinish = 0x3025;
} // namespace standard_button

// 30100, the name of the mode; 30101 and 30103, title and body for a control without a text, %d being its
// number.
inline constexpr std::wstring_view kWhatsThisHelp = L"What's This? Help";
inline constexpr std::wstring_view kHelpUnavailable = L"Help Unavailable";
inline constexpr std::wstring_view kNoHelp =
    L"There is no popup balloon help defined for control #%d.\n\nPlease choose another control or press F1 for context Help.";

struct StandardHelp {
    int part; // the standard button or part of the frame that shows it in every window; 0: none
    int number;
    std::wstring_view title;
    std::wstring_view text;
};

// In the order of their numbers.
std::span<const StandardHelp> StandardHelpTexts();

} // namespace vnxtest
