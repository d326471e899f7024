// Help keys and the two maps of the balloon help: from a control to the text it shows, and from one key
// to another. No windows here: everything can be asked without a display.
//
// A key is the template id of the window in the high 16 bits and the control id in the low 16 bits; with
// 0 below it is the window itself. All functions are for the user-interface thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vnxtest {

using HelpKey = std::uint32_t;

// The key of a control. Of both numbers the low 16 bits count.
constexpr HelpKey MakeHelpKey(int templateId, int controlId = 0) {
    return static_cast<HelpKey>(templateId) << 16 | (static_cast<HelpKey>(controlId) & 0xFFFFU);
}

// From a help key to the id of the text it shows. A later registration of a key replaces the earlier.
class CHelpStringsMap {
public:
    void Register(HelpKey key, int stringId) { m_strings[key] = stringId; }
    std::optional<int> Find(HelpKey key) const;

private:
    std::map<HelpKey, int> m_strings;
};

// From a help key to another number: another key, whose text is shown instead (a frame maps its parts
// onto the standard texts so), or a topic of the help book.
class CHelpIdRemap {
public:
    void Register(HelpKey key, std::uint32_t target) { m_targets[key] = target; }
    std::optional<std::uint32_t> Find(HelpKey key) const;
    // The target of `key`, or `key` itself when it is not mapped. Maps once: a target is not followed.
    HelpKey Follow(HelpKey key) const { return Find(key).value_or(key); }

private:
    std::map<HelpKey, std::uint32_t> m_targets;
};

// What one window has registered.
struct HelpMaps {
    CHelpStringsMap strings;
    CHelpIdRemap remap;  // key to key
    CHelpIdRemap topics; // key to topic of the help book (help_topics.h)
};

// What a balloon shows.
struct HelpText {
    std::wstring body;
    std::wstring title;
};

// A help text as it is kept (body, line break, title) taken apart at its first line break. Without one
// the whole text is the body.
HelpText SplitHelpText(std::wstring_view text);

// The text for `key`: remapped once, found in the strings map, loaded and split; nothing when none is
// registered or the registered one does not exist.
std::optional<HelpText> FindHelp(const HelpMaps& maps, HelpKey key);

// The same, but the fallback ("Help Unavailable" with the control's number) instead of nothing.
HelpText LookUpHelp(const HelpMaps& maps, HelpKey key);

// The topic for `key`: its own, else that of its window, else the contents (help_topics.h).
int LookUpTopic(const HelpMaps& maps, HelpKey key);

} // namespace vnxtest
