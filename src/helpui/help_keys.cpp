#include "helpui/help_keys.h"

#include "helpui/help_texts.h"
#include "helpui/help_topics.h"
#include "wrenlib/format.h"

namespace vnxtest {

std::optional<int> CHelpStringsMap::Find(HelpKey key) const {
    const auto found = m_strings.find(key);
    return found == m_strings.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::uint32_t> CHelpIdRemap::Find(HelpKey key) const {
    const auto found = m_targets.find(key);
    return found == m_targets.end() ? std::nullopt : std::optional(found->second);
}

HelpText SplitHelpText(std::wstring_view text) {
    const std::size_t end = text.find(L'\n');
    if (end == std::wstring_view::npos) {
        return {std::wstring(text), {}};
    }
    return {std::wstring(text.substr(0, end)), std::wstring(text.substr(end + 1))};
}

std::optional<HelpText> FindHelp(const HelpMaps& maps, HelpKey key) {
    const std::optional<int> id = maps.strings.Find(maps.remap.Follow(key));
    const std::optional<std::wstring_view> text = id ? FindHelpString(*id) : std::nullopt;
    return text ? std::optional(SplitHelpText(*text)) : std::nullopt;
}

HelpText LookUpHelp(const HelpMaps& maps, HelpKey key) {
    if (std::optional<HelpText> text = FindHelp(maps, key)) {
        return *std::move(text);
    }
    // The fallback's body has line breaks of its own and its title is a text by itself: it is not split.
    return {Sprintf(*FindHelpString(kTextNoHelp), key & 0xFFFFU),
            std::wstring(*FindHelpString(kTextHelpUnavailable))};
}

int LookUpTopic(const HelpMaps& maps, HelpKey key) {
    std::optional<std::uint32_t> topic = maps.topics.Find(key);
    if (!topic) {
        topic = maps.topics.Find(key & 0xFFFF0000U);
    }
    return topic ? static_cast<int>(*topic) : kTopicContents;
}

} // namespace vnxtest
