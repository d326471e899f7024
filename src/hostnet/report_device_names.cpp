#include "hostnet/report_sections.h"
#include "platform/network/device_names.h"
#include "wrenlib/errors.h"
#include "wrenlib/log.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

void WriteDeviceNames() {
    LogMsg(L"---------  The following relevant DosDevices are defined ---------\n\n");
    const DeviceNames devices = GetDeviceNames();
    if (devices.code != 0) {
        LogMsg(L"** QueryDosDevice failed; rc=%d: %s\n", devices.code, FormatLastError(devices.code));
    } else if (devices.names.empty()) {
        LogMsg(L"(none)\n");
    }
    for (const std::wstring& name : devices.names) {
        LogMsg(L"%s\n", MakeVisible(name));
    }
    LogMsg(L"\n");
}

} // namespace vnxtest
