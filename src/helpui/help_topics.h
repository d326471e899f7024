// The topics of the help book by number: what a dialog's Help button and a second F1 open. Each number
// stands for a page of the book, most for a place on it.
#pragma once

#include <optional>
#include <string_view>

namespace vnxtest {

inline constexpr int kTopicContents = 300;
inline constexpr int kTopicMainWindow = 310;
inline constexpr int kTopicChart = 312;
inline constexpr int kTopicParameters = 320;
inline constexpr int kTopicParametersMode = 321;
inline constexpr int kTopicParametersGuestIp = 323;
inline constexpr int kTopicParametersGuestMac = 325;
inline constexpr int kTopicParametersAdapter = 327;
inline constexpr int kTopicParametersTwo = 329;
inline constexpr int kTopicDefaultGateway = 335;
inline constexpr int kTopicPingWho = 347;
inline constexpr int kTopicPingInterface1 = 350;
inline constexpr int kTopicPingInterface2 = 351;
inline constexpr int kTopicPingTo = 353;
inline constexpr int kTopicPingSize = 355;
inline constexpr int kTopicPingCount = 360;
inline constexpr int kTopicPingTimeout = 365;
inline constexpr int kTopicPingDelay = 371;
inline constexpr int kTopicBufferSizes = 380;
inline constexpr int kTopicDriverBuffer = 381;
inline constexpr int kTopicDllBuffer = 382;
inline constexpr int kTopicDebugFlags = 390;
inline constexpr int kTopicAbout = 395;

// The page of a topic (its file name in the book, "#" and anchor behind it where there is one), or nothing
// for a number that is none.
std::optional<std::string_view> FindHelpTopic(int id);

} // namespace vnxtest
