// Help keys, and what one window registers under them: the text of a control, the key that replaces
// another, and the topic of the help book. Uses no windows and needs no display.
//
// A key is the template id of the window in the high 16 bits and the control id in the low 16 bits; control
// id 0 is the window itself. All functions are for the user-interface thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "helpui/help_table.h"

namespace vnxtest {

using HelpKey = std::uint32_t;

// The key of a control. Only the low 16 bits of both numbers count.
constexpr HelpKey MakeHelpKey(int templateId, int controlId = kWindowItself) {
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

// From a help key to another whose text is shown instead. A window maps its buttons and the parts of its
// frame to the standard texts with it.
class CHelpIdRemap {
public:
    void Register(HelpKey key, HelpKey target) { m_targets[key] = target; }
    std::optional<HelpKey> Find(HelpKey key) const;
    // The target of `key`, or `key` itself if it is not mapped. Maps once: a target is not mapped again.
    HelpKey Follow(HelpKey key) const { return Find(key).value_or(key); }

private:
    std::map<HelpKey, HelpKey> m_targets;
};

// What a balloon shows.
struct HelpText {
    std::wstring title;
    std::wstring body;
};

// What one window has registered.
struct HelpMaps {
    CHelpStringsMap strings;
    CHelpIdRemap remap;
    std::map<int, HelpText> texts; // by their ids
    std::map<HelpKey, HelpTopic> topics;
};

// Registers the standard texts, maps the standard buttons and the parts of the frame to them, and then
// registers the window's own table, which replaces equal keys.
HelpMaps RegisterHelp(const HelpTable& table);

// The text for `key`: remapped once, its id found in the strings map, and the text of that id; nullopt if
// none is registered.
std::optional<HelpText> FindHelp(const HelpMaps& maps, HelpKey key);

// The same, but the fallback ("Help Unavailable" with the control's number) instead of nullopt.
HelpText LookUpHelp(const HelpMaps& maps, HelpKey key);

// The topic for `key`: its own, else that of its window, else the contents.
HelpTopic LookUpTopic(const HelpMaps& maps, HelpKey key);

} // namespace vnxtest
