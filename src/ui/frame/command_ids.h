// The numbers of the window's commands. Those of a dialog and its controls are in the dialog's source.
//
// Menus, accelerators and scripts use these numbers. The toolkit keeps identifiers as signed 16-bit numbers
// on Windows: WindowId() converts a number for it, and Windows itself then sees the number named here.
#pragma once

#include <cstdint>

namespace vnxtest {

enum Command : int {
    kCmdEscape = 32768, // issued by the Escape key; without effect
    kCmdStartGuest = 32772,
    kCmdStopGuest = 32773,
    kCmdStartPing = 32775,
    kCmdRedetectAdapters = 32778,
    kCmdDefineGateway = 32780,
    kCmdDefineBufferSizes = 32782,
    kCmdSetDebugFlags = 32783,
    kCmdSocketNotifyMode = 32786,
    kCmdStopPing = 32788,
    kCmdHelp = 32789,
    kCmdShowPingChart = 32800,
    kCmdCaptureToFile = 32801,
    kCmdChartZoomIn = 32820, // these four only in the chart's menu
    kCmdChartZoomOut = 32821,
    kCmdChartShowAll = 32822,
    kCmdChartLogarithmic = 32823,
    kCmdCopyChart = 32824,
    kCmdSaveChart = 32825,
    kCmdExportTest = 32826,
    kCmdFollowEnd = 32830,
    kCmdFindPrevious = 32831,
    kCmdZoomIn = 32832,
    kCmdZoomOut = 32833,
    kCmdNormalSize = 32834,
    kCmdNew = 57600,
    kCmdOpen = 57601,
    kCmdSave = 57603,
    kCmdCopy = 57634,
    kCmdFind = 57636,
    kCmdFindNext = 57640,
    kCmdSelectAll = 57642,
    kCmdAbout = 57664,
    kCmdExit = 57665,
    kCmdNextPane = 57680,
    kCmdPreviousPane = 57681,
};

// The identifier under which the toolkit knows `command`.
constexpr int WindowId(Command command) {
    return static_cast<std::int16_t>(command);
}

} // namespace vnxtest
