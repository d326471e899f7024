#include "helpui/help_keys.h"

#include "helpui/standard_help.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// A standard text is registered under template 0 and its own number; the controls that show it are mapped
// to that.
HelpKey StandardKey(int number) {
    return MakeHelpKey(0, number);
}

void RegisterStandardTexts(int window, HelpMaps& maps) {
    for (const StandardHelp& each : StandardHelpTexts()) {
        maps.strings.Register(StandardKey(each.number), each.number);
        maps.texts[each.number] = {std::wstring(each.title), std::wstring(each.text)};
        if (each.part != 0) {
            maps.remap.Register(MakeHelpKey(window, each.part), StandardKey(each.number));
        }
    }
}

void RegisterControl(HelpKey key, const ControlHelp& help, HelpMaps& maps) {
    maps.strings.Register(key, help.number);
    if (help.topic.number != 0) {
        maps.topics[key] = help.topic;
    }
}

} // namespace

std::optional<int> CHelpStringsMap::Find(HelpKey key) const {
    const auto found = m_strings.find(key);
    return found == m_strings.end() ? std::nullopt : std::optional(found->second);
}

std::optional<HelpKey> CHelpIdRemap::Find(HelpKey key) const {
    const auto found = m_targets.find(key);
    return found == m_targets.end() ? std::nullopt : std::optional(found->second);
}

HelpMaps RegisterHelp(const HelpTable& table) {
    HelpMaps maps;
    RegisterStandardTexts(table.window, maps);
    for (const StandardTextUse& use : table.standardTexts) {
        maps.remap.Register(MakeHelpKey(table.window, use.control), StandardKey(use.number));
    }
    maps.topics[MakeHelpKey(table.window)] = table.topic;
    for (const ControlHelp& help : table.controls) {
        maps.texts[help.number] = {std::wstring(help.title), std::wstring(help.text)};
        const auto [control, twin] = help.controls;
        RegisterControl(MakeHelpKey(table.window, control), help, maps);
        if (twin != kWindowItself) {
            RegisterControl(MakeHelpKey(table.window, twin), help, maps);
        }
    }
    return maps;
}

std::optional<HelpText> FindHelp(const HelpMaps& maps, HelpKey key) {
    const std::optional<int> id = maps.strings.Find(maps.remap.Follow(key));
    const auto text = id ? maps.texts.find(*id) : maps.texts.end();
    return text == maps.texts.end() ? std::nullopt : std::optional(text->second);
}

HelpText LookUpHelp(const HelpMaps& maps, HelpKey key) {
    if (std::optional<HelpText> text = FindHelp(maps, key)) {
        return *std::move(text);
    }
    return {std::wstring(kHelpUnavailable), Sprintf(kNoHelp, key & 0xFFFFU)};
}

HelpTopic LookUpTopic(const HelpMaps& maps, HelpKey key) {
    for (const HelpKey candidate : {key, key & 0xFFFF0000U}) {
        if (const auto topic = maps.topics.find(candidate); topic != maps.topics.end()) {
            return topic->second;
        }
    }
    return kContentsTopic;
}

} // namespace vnxtest
