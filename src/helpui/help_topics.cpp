#include "helpui/help_topics.h"

#include <algorithm>

namespace vnxtest {

namespace {

struct HelpTopic {
    int id;
    std::string_view page; // file name in the book, "#" and anchor behind it where there is one
};

constexpr HelpTopic kTopics[] = {
    {kTopicContents, "index.html"},
    {kTopicMainWindow, "main_window.html"},
    {kTopicChart, "main_window.html#chart"},
    {kTopicParameters, "parameters.html"},
    {kTopicParametersMode, "parameters.html#mode"},
    {kTopicParametersGuestIp, "parameters.html#guest_ip"},
    {kTopicParametersGuestMac, "parameters.html#guest_mac"},
    {kTopicParametersAdapter, "parameters.html#adapter"},
    {kTopicParametersTwo, "parameters.html#two"},
    {kTopicDefaultGateway, "default_gateway.html"},
    {kTopicPingWho, "ping_who.html"},
    {kTopicPingInterface1, "ping_who.html#interface1"},
    {kTopicPingInterface2, "ping_who.html#interface2"},
    {kTopicPingTo, "ping_who.html#to"},
    {kTopicPingSize, "ping_who.html#size"},
    {kTopicPingCount, "ping_who.html#count"},
    {kTopicPingTimeout, "ping_who.html#timeout"},
    {kTopicPingDelay, "ping_who.html#delay"},
    {kTopicBufferSizes, "buffer_sizes.html"},
    {kTopicDriverBuffer, "buffer_sizes.html#driver"},
    {kTopicDllBuffer, "buffer_sizes.html#dll"},
    {kTopicDebugFlags, "debug_flags.html"},
    {kTopicAbout, "about.html"},
};

} // namespace

std::optional<std::string_view> FindHelpTopic(int id) {
    const auto found = std::ranges::find(kTopics, id, &HelpTopic::id);
    return found == std::end(kTopics) ? std::nullopt : std::optional(found->page);
}

} // namespace vnxtest
