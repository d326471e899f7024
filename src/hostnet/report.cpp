#include "hostnet/report.h"

#include "hostnet/report_sections.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

ReportContext::ReportContext()
    : programVersion(kWideVersion), buildDate(ToWide(__DATE__)), buildTime(ToWide(__TIME__)),
#ifdef NDEBUG
      specialBuild(L"Release build"),
#else
      specialBuild(L"Debug build"),
#endif
      copyright(kWideCopyright) {
}

void WriteStartupReport(HostNetwork& host, VnetxLibrary& library, const ReportContext& context) {
    WriteRunMode();
    WriteModules(host, library, context);
    WriteDeviceNames();
    WriteNetworkInformation(host);
    WriteDetectedAdapters(host);
}

} // namespace vnxtest
