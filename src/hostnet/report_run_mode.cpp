#include "hostnet/report_sections.h"
#include "platform/system/system_identity.h"
#include "wrenlib/log.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

void WriteRunMode() {
    const SystemIdentity identity = GetSystemIdentity();
    const std::wstring mode = identity.elevated ? L"Elevated (Administrator)" : L"Normal User";
    std::wstring edition = identity.edition;
    if (!identity.servicePack.empty()) {
        edition += (edition.empty() ? L"" : L" ") + identity.servicePack;
    }
    // A blank stands before the edition already.
    const std::wstring processors =
        Sprintf(edition.empty() ? L"(MP=%u)" : L" (MP=%u)", identity.processorCount);
    LogMsg(L"Running in %s mode on \"%s\" (%s %d.%d.%d) %s%s.\n\n", mode, MakeVisible(identity.computerName),
           MakeVisible(identity.productName), identity.majorVersion, identity.minorVersion,
           identity.buildNumber, MakeVisible(edition), processors);
}

} // namespace vnxtest
