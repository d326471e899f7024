// The help of a window as its owner writes it: one table with the text and the help-book topic of each
// control. The help room knows this type and no window of the program.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace vnxtest {

// A place in the help book: its number, and the file name, followed by "#" and the anchor if there is one.
struct HelpTopic {
    int number = 0; // 0: none
    std::string_view page;
};

inline constexpr HelpTopic kContentsTopic{300, "index.html"};

// Stands for the window among the numbers of its controls.
inline constexpr int kWindowItself = 0;

// The largest number of a control: a help key keeps 16 bits of it.
inline constexpr int kMaximumControlId = 0xFFFF;

// A text, and the control that shows it, or two (an edit and its up-down control, the same entry of two
// interfaces). A control's number is its window id, or that of a part of the frame
// (widgets/caption/frame_area.h). The number of a text is unique in the program.
struct ControlHelp {
    std::array<int, 2> controls;
    int number;
    std::wstring_view title;
    std::wstring_view text;
    HelpTopic topic{}; // none: that of the window
};

// A control, or a part of the frame, that shows the standard text with this number (standard_help.h).
struct StandardTextUse {
    int control;
    int number;
};

// Checked at compile time: each control and each text stands in it once, each text ends as a sentence and
// has a title.
struct HelpTable {
    consteval HelpTable(int windowNumber, HelpTopic windowTopic, std::span<const ControlHelp> controlHelp,
                        std::span<const StandardTextUse> standardTextUses = {})
        : window(windowNumber), topic(windowTopic), controls(controlHelp), standardTexts(standardTextUses) {
        for (std::size_t i = 0; i < controls.size(); ++i) {
            const ControlHelp& help = controls[i];
            if (help.title.empty() || help.title.ends_with(L'.') || !help.text.ends_with(L'.')) {
                throw "a text without a title, or one that is no sentence";
            }
            for (const ControlHelp& other : controls.subspan(i + 1)) {
                if (other.number == help.number || SharesControl(help, other)) {
                    throw "a control or a text that stands in the table twice";
                }
            }
        }
    }

    int window; // the number of its template
    HelpTopic topic;
    std::span<const ControlHelp> controls;
    std::span<const StandardTextUse> standardTexts;

private:
    static constexpr bool SharesControl(const ControlHelp& help, const ControlHelp& other) {
        const auto [control, twin] = other.controls;
        const auto shows = [&help](int number) {
            return help.controls[0] == number || (help.controls[1] == number && number != kWindowItself);
        };
        return shows(control) || (twin != kWindowItself && shows(twin));
    }
};

} // namespace vnxtest
