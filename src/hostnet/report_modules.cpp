#include <vector>

#include "hostnet/banner.h"
#include "hostnet/report_sections.h"
#include "platform/system/host_advice.h"
#include "platform/system/module_version.h"
#include "wrenlib/log.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

void WriteModule(const ModuleDescription& module) {
    LogMsg(L"Using %s, version: \"%s\" (%s)%s ...\n%s\n\n", module.name, module.version, module.detail,
           module.specialBuild.empty() ? L"" : L" " + module.specialBuild, module.copyright);
}

// Adds from the module's file its date, its special build, and other missing fields.
void AddFileVersion(ModuleDescription& module) {
    const auto file = GetModuleVersion(module.path.empty() ? module.name : module.path);
    if (!file) {
        return;
    }
    module.detail = file->date + (file->date.empty() ? L"" : L", ") + file->path;
    module.specialBuild = file->specialBuild;
    if (module.version.empty()) {
        module.version = file->version;
    }
    if (module.copyright.empty()) {
        module.copyright = file->copyright;
    }
}

void WritePacketDriver(const PacketDriverDescription& driver) {
    if (!driver.usable) {
        LogBanner(
            BannerKind::Error,
            {MakeVisible(driver.problem),
             L"Netorra reaches the network through the packet driver. Without it no host adapter can be opened, and no test that uses one can work.",
             GetHostAdvice().driverMissing},
            kHelpTopicModules);
        return;
    }
    LogMsg(L"Using WinPCap %s, version \"%s\" (%s)%s ...\n\n", driver.name, MakeVisible(driver.version),
           MakeVisible(driver.detail),
           driver.driverVersion.empty() ? L""
                                        : L", driver version \"" + MakeVisible(driver.driverVersion) + L"\"");
}

ModuleDescription DescribeVnetx(VnetxLibrary& library) {
    ModuleDescription module;
    module.name = library.ModuleName();
    module.path = library.ModulePath();
    const char* version = library.VersionString();
    module.version = version != nullptr ? ToWide(version) : L"";
    if (module.version.empty()) {
        std::int32_t numbers[4] = {};
        library.VersionNumbers(&numbers[0], &numbers[1], &numbers[2], &numbers[3]);
        module.version = Sprintf(L"%d.%d.%d.%d", numbers[0], numbers[1], numbers[2], numbers[3]);
    }
    const char* copyright = library.CopyrightString();
    module.copyright = copyright != nullptr ? ToWide(copyright) : L"";
    module.detail = module.path.empty() ? L"built into this program" : module.path;
    module.substitution = library.WhyNotThePackage();
    return module;
}

// One banner for all modules of the package that were replaced.
void WriteSubstitutions(const std::vector<ModuleDescription>& modules) {
    std::vector<std::wstring> paragraphs;
    bool unusable = false;
    for (const ModuleDescription& module : modules) {
        if (!module.substitution.empty()) {
            paragraphs.push_back(module.substitution);
            unusable = unusable || module.unusable;
        }
    }
    if (!paragraphs.empty()) {
        paragraphs.emplace_back(
            L"The test works without Netorra, through the packet driver alone. To test Netorra itself, install its package and start this program again.");
        LogBanner(unusable ? BannerKind::Error : BannerKind::Warning, paragraphs, kHelpTopicModules);
    }
}

ModuleDescription DescribeWrenLib(const ReportContext& context) {
    // A WrenLib module is in the process only if another module of the package has loaded it.
    ModuleDescription module;
    module.name = L"WrenLib64UD-M90a.dll";
    if (GetModuleVersion(module.name)) {
        return module;
    }
    module.name = L"WrenLib";
    module.version = context.programVersion;
    module.detail = L"built into this program";
    return module;
}

} // namespace

void WriteModules(const HostNetwork& host, VnetxLibrary& library, const ReportContext& context) {
    LogMsg(L"Begin %s, version: \"%s\" (%s)%s %s ...\n%s\n\n", context.programName, context.programVersion,
           context.buildDate, L" " + context.buildTime, context.specialBuild, context.copyright);
    const WrenPackLibrary& adapters = host.Sources().adapters;
    WritePacketDriver(adapters.DescribePacketDriver());
    std::vector<ModuleDescription> modules{adapters.DescribeModule(), DescribeVnetx(library),
                                           DescribeWrenLib(context)};
    for (ModuleDescription& module : modules) {
        AddFileVersion(module);
        if (module.copyright.empty()) {
            module.copyright = context.copyright;
        }
        for (std::wstring ModuleDescription::*text :
             {&ModuleDescription::name, &ModuleDescription::version, &ModuleDescription::detail,
              &ModuleDescription::specialBuild, &ModuleDescription::copyright,
              &ModuleDescription::substitution}) {
            module.*text = MakeVisible(module.*text);
        }
        WriteModule(module);
    }
    WriteSubstitutions(modules);
}

} // namespace vnxtest
