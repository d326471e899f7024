// The numbers by which windows and their controls are known: to the code that creates them, and to the
// help, whose keys are made of them (help_keys.h).
//
// A control is created with its number as its window id. The standard buttons keep the toolkit's ids
// (wxID_OK, wxID_CANCEL, wxID_HELP ...); the help knows them by the numbers at the end.
#pragma once

namespace vnxtest {

// Templates: the frame, its menus and the dialogs.
inline constexpr int kTemplateFrame = 128;
inline constexpr int kDialogParameters = 130;
inline constexpr int kDialogPingWho = 131;
inline constexpr int kDialogDefaultGateway = 132;
inline constexpr int kDialogBufferSizes = 134;
inline constexpr int kDialogAbout = 135;
inline constexpr int kDialogDebugFlags = 136;

// The largest number of a control: a help key keeps 16 bits of it.
inline constexpr int kMaximumControlId = 0xFFFF;

namespace parameters_control {
inline constexpr int kGuestIp1 = 1000;
inline constexpr int kAdapterIp1 = 1001;
inline constexpr int kGuestIp2 = 1002;
inline constexpr int kAdapterIp2 = 1003;
inline constexpr int kAdapterMac1 = 1006;
inline constexpr int kGuestMac1 = 1007;
inline constexpr int kGuestMac2 = 1008;
inline constexpr int kAdapterMac2 = 1009;
inline constexpr int kUseTwo = 1012;
inline constexpr int kTun1 = 1013;
inline constexpr int kTap1 = 1014;
inline constexpr int kTun2 = 1019;
inline constexpr int kTap2 = 1020;
} // namespace parameters_control

namespace ping_who_control {
inline constexpr int kCount = 1007;
inline constexpr int kCountSpin = 1008;
inline constexpr int kInterface1 = 1009;
inline constexpr int kInterface2 = 1010;
inline constexpr int kDelay = 1011;
inline constexpr int kDelaySpin = 1012;
inline constexpr int kTimeout = 1013;
inline constexpr int kTimeoutSpin = 1014;
inline constexpr int kSize = 1015;
inline constexpr int kSizeSpin = 1016;
inline constexpr int kTo = 1020;
} // namespace ping_who_control

namespace default_gateway_control {
inline constexpr int kGatewayIp = 1000;
} // namespace default_gateway_control

namespace buffer_sizes_control {
inline constexpr int kDriver = 1017;
inline constexpr int kDll = 1018;
inline constexpr int kDriverSpin = 1019;
inline constexpr int kDllSpin = 1020;
} // namespace buffer_sizes_control

namespace about_control {
inline constexpr int kVersionLine = 1028;
inline constexpr int kLegalNotice = 1029;
inline constexpr int kWebPage = 1030;
inline constexpr int kSupportMail = 1031;
inline constexpr int kHelpBook = 1032;
} // namespace about_control

namespace debug_flags_control {
inline constexpr int kOldNewValues = 1021;
inline constexpr int kPacketContents = 1022;
inline constexpr int kArpRead = 1023;
inline constexpr int kArpWritten = 1024;
inline constexpr int kOtherRead = 1025;
inline constexpr int kOtherWritten = 1026;
inline constexpr int kEnable = 1027;
} // namespace debug_flags_control

// What stands in the frame's client area. The status bar's fields are known by the indicator they show.
namespace frame_control {
inline constexpr int kChartPane = 1040;
inline constexpr int kProgress = 1041;
inline constexpr int kLibrary = 1042;
inline constexpr int kStatusBar = 0xE801;
inline constexpr int kOutputPane = 0xE900;
} // namespace frame_control

// The standard buttons as the help knows them, whatever the toolkit's ids are.
namespace standard_button {
inline constexpr int kOk = 1;
inline constexpr int kCancel = 2;
inline constexpr int kHelp = 9;
inline constexpr int kApply = 0x3021;
inline constexpr int kBack = 0x3023;
inline constexpr int kNext = 0x3024;
inline constexpr int kFinish = 0x3025;
} // namespace standard_button

} // namespace vnxtest
