#include "helpui/help_registrations.h"

#include <algorithm>

#include "helpui/dialog_ids.h"
#include "helpui/help_texts.h"
#include "helpui/help_topics.h"
#include "widgets/frame_area.h"

namespace vnxtest {

namespace {

struct Registration {
    int templateId;
    int controlId; // 0: the window itself
    int stringId;
    int topic;
};

namespace parameters = parameters_control;
namespace ping_who = ping_who_control;
namespace buffer_sizes = buffer_sizes_control;
namespace about = about_control;
namespace debug_flags = debug_flags_control;

constexpr Registration kRegistrations[] = {
    {kTemplateFrame, 0, 30135, kTopicMainWindow},
    {kTemplateFrame, frame_control::kChartPane, 6600, kTopicChart},
    {kTemplateFrame, frame_control::kProgress, 6601, kTopicChart},
    {kTemplateFrame, frame_control::kLibrary, 6602, kTopicMainWindow},

    {kDialogParameters, 0, 6200, kTopicParameters},
    {kDialogParameters, parameters::kTun1, 6201, kTopicParametersMode},
    {kDialogParameters, parameters::kTun2, 6201, kTopicParametersMode},
    {kDialogParameters, parameters::kTap1, 6202, kTopicParametersMode},
    {kDialogParameters, parameters::kTap2, 6202, kTopicParametersMode},
    {kDialogParameters, parameters::kGuestIp1, 6203, kTopicParametersGuestIp},
    {kDialogParameters, parameters::kGuestIp2, 6203, kTopicParametersGuestIp},
    {kDialogParameters, parameters::kGuestMac1, 6204, kTopicParametersGuestMac},
    {kDialogParameters, parameters::kGuestMac2, 6204, kTopicParametersGuestMac},
    {kDialogParameters, parameters::kAdapterIp1, 6205, kTopicParametersAdapter},
    {kDialogParameters, parameters::kAdapterIp2, 6205, kTopicParametersAdapter},
    {kDialogParameters, parameters::kAdapterMac1, 6206, kTopicParametersAdapter},
    {kDialogParameters, parameters::kAdapterMac2, 6206, kTopicParametersAdapter},
    {kDialogParameters, parameters::kUseTwo, 6207, kTopicParametersTwo},

    {kDialogPingWho, 0, 6100, kTopicPingWho},
    {kDialogPingWho, ping_who::kInterface1, 6101, kTopicPingInterface1},
    {kDialogPingWho, ping_who::kInterface2, 6102, kTopicPingInterface2},
    {kDialogPingWho, ping_who::kTo, 6103, kTopicPingTo},
    {kDialogPingWho, ping_who::kSize, 6104, kTopicPingSize},
    {kDialogPingWho, ping_who::kSizeSpin, 6104, kTopicPingSize},
    {kDialogPingWho, ping_who::kCount, 6105, kTopicPingCount},
    {kDialogPingWho, ping_who::kCountSpin, 6105, kTopicPingCount},
    {kDialogPingWho, ping_who::kTimeout, 6106, kTopicPingTimeout},
    {kDialogPingWho, ping_who::kTimeoutSpin, 6106, kTopicPingTimeout},
    {kDialogPingWho, ping_who::kDelay, 6107, kTopicPingDelay},
    {kDialogPingWho, ping_who::kDelaySpin, 6107, kTopicPingDelay},

    {kDialogDefaultGateway, 0, 6300, kTopicDefaultGateway},
    {kDialogDefaultGateway, default_gateway_control::kGatewayIp, 6301, kTopicDefaultGateway},

    {kDialogBufferSizes, 0, 6400, kTopicBufferSizes},
    {kDialogBufferSizes, buffer_sizes::kDriver, 6401, kTopicDriverBuffer},
    {kDialogBufferSizes, buffer_sizes::kDriverSpin, 6401, kTopicDriverBuffer},
    {kDialogBufferSizes, buffer_sizes::kDll, 6402, kTopicDllBuffer},
    {kDialogBufferSizes, buffer_sizes::kDllSpin, 6402, kTopicDllBuffer},

    {kDialogAbout, 0, 6000, kTopicAbout},
    {kDialogAbout, about::kVersionLine, 6001, kTopicAbout},
    {kDialogAbout, about::kLegalNotice, 6002, kTopicAbout},
    {kDialogAbout, about::kWebPage, 6003, kTopicAbout},
    {kDialogAbout, about::kSupportMail, 6004, kTopicAbout},
    {kDialogAbout, about::kHelpBook, 6603, kTopicAbout},

    {kDialogDebugFlags, 0, 6500, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kOldNewValues, 6501, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kPacketContents, 6502, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kArpRead, 6503, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kArpWritten, 6504, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kOtherRead, 6505, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kOtherWritten, 6506, kTopicDebugFlags},
    {kDialogDebugFlags, debug_flags::kEnable, 6507, kTopicDebugFlags},
};

// What every window has, by the standard text it shows.
struct StandardPart {
    int part;
    int stringId;
};

constexpr StandardPart kStandardParts[] = {
    {standard_button::kOk, 30110},
    {standard_button::kCancel, 30111},
    {standard_button::kHelp, 30112},
    {standard_button::kApply, 30113},
    {standard_button::kNext, 30114},
    {standard_button::kBack, 30115},
    {standard_button::kFinish, 30116},
    {frame_area::kTitleBar, 30104},
    {frame_area::kMenuBar, 30105},
    {frame_area::kSystemMenu, 30106},
    {frame_area::kSizeBox, 30150},
    {frame_area::kHorizontalScrollBar, 30152},
    {frame_area::kVerticalScrollBar, 30153},
    {frame_area::kMinimizeButton, 30154},
    {frame_area::kMaximizeButton, 30155},
    {frame_area::kRestoreButton, 30156},
    {frame_area::kCloseButton, 30157},
    {frame_area::kHelpButton, 30158},
    {frame_area::kLeftEdge, 30170},
    {frame_area::kRightEdge, 30171},
    {frame_area::kTopEdge, 30172},
    {frame_area::kBottomEdge, 30173},
    {frame_area::kTopLeftCorner, 30174},
    {frame_area::kTopRightCorner, 30175},
    {frame_area::kBottomLeftCorner, 30176},
    {frame_area::kBottomRightCorner, 30177},
    {frame_area::kBorder, 30178},
};

// What only the frame has.
constexpr StandardPart kFrameParts[] = {
    {frame_area::kTitleBar, 30151},
    {frame_control::kStatusBar, 30132},
    {frame_control::kOutputPane, 30135},
};

// A standard text stands under template 0 and its own number; the parts of a window are mapped there.
HelpKey StandardKey(int stringId) {
    return MakeHelpKey(0, stringId);
}

} // namespace

void RegisterWindowHelp(int templateId, HelpMaps& maps) {
    for (const HelpString& text : StandardHelpStrings()) {
        maps.strings.Register(StandardKey(text.id), text.id);
    }
    for (const StandardPart& part : kStandardParts) {
        maps.remap.Register(MakeHelpKey(templateId, part.part), StandardKey(part.stringId));
    }
    if (templateId == kTemplateFrame) {
        for (const StandardPart& part : kFrameParts) {
            maps.remap.Register(MakeHelpKey(templateId, part.part), StandardKey(part.stringId));
        }
    }
    for (const Registration& registration : kRegistrations) {
        if (registration.templateId == templateId) {
            const HelpKey key = MakeHelpKey(templateId, registration.controlId);
            maps.strings.Register(key, registration.stringId);
            maps.topics.Register(key, static_cast<std::uint32_t>(registration.topic));
        }
    }
}

} // namespace vnxtest
