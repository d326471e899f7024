// The numbers of the window's commands, in one place. The numbers of a dialog and its controls stand
// where the dialog is.
//
// They are the numbers that menus, accelerators and scripts know. The toolkit keeps identifiers as signed
// 16-bit numbers on Windows; WindowId() is the form in which a command's number is given to it, and the
// number that Windows itself then sees is the one named here.
#pragma once

#include <cstdint>

namespace vnxtest {

enum Command : int {
    kCmdEscape = 32768, // issued by the Escape key; nothing takes it
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
