// Opening, configuring and closing one virtual interface.
#pragma once

#include <cstdint>

#include "core/interface_info.h"
#include "core/run_settings.h"
#include "vnetx/library.h"

namespace vnxtest {

// Opens the interface through the library and configures it step by step, as the emulator's point-to-point
// guest link. Returns the handle, which is then info's handle, too; or -1, reported, with everything closed
// and errno and the last error of the failure. Monitor thread.
std::int32_t CreateInterface(INTERFACE_INFO& info, VnetxLibrary& library, const RunSettings& settings);

// Reports the statistics of the open interface, closes it and reports that. The statistics stay in
// info. Monitor thread.
void ReportStatisticsAndClose(INTERFACE_INFO& info, VnetxLibrary& library);

} // namespace vnxtest
