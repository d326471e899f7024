#include "vnetx/bound_library.h"
#include "vnetx/choice/builtin.h"
#include "vnetx/choice/platform_libraries.h"
#include "vnetx/library.h"
#include "vnetx/pcap/pcap_library.h"
#include "vnetx/sim/sim.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr std::wstring_view kSimWithOptions = L"sim:";

bool EndsWith(std::wstring_view name, std::wstring_view ending) {
    return name.size() > ending.size() && EqualNoCase(name.substr(name.size() - ending.size()), ending);
}

} // namespace

Result<std::unique_ptr<VnetxLibrary>> MakeBuiltinLibrary(std::wstring_view name) {
    if (EqualNoCase(name, L"pcap")) {
        return MakePcapLibrary();
    }
    if (EqualNoCase(name, L"tun")) {
        return OpenTunLibrary();
    }
    if (EqualNoCase(name, L"sim")) {
        return MakeSimLibrary(L"");
    }
    if (EqualNoCase(name.substr(0, kSimWithOptions.size()), kSimWithOptions)) {
        return MakeSimLibrary(name.substr(kSimWithOptions.size()));
    }
    return nullptr;
}

Result<std::unique_ptr<VnetxLibrary>> OpenVnetxLibrary(std::wstring_view name) {
    if (EqualNoCase(name, L"auto")) {
        return OpenAutoLibrary();
    }
    auto builtin = MakeBuiltinLibrary(name);
    if (!builtin || *builtin != nullptr) {
        return builtin;
    }
    if (IsLibraryFile(name)) {
        return BindVnetxLibrary(name);
    }
    return Refused(
        Sprintf(L"There is no interface library \"%s\". %s", std::wstring(name), KnownLibraries()));
}

bool IsLibraryFile(std::wstring_view name) {
    return name.find_first_of(L"/\\") != std::wstring_view::npos || EndsWith(name, L".so") ||
           EndsWith(name, L".dll");
}

bool IsSimulatedLan(std::wstring_view name) {
    return EqualNoCase(name.substr(0, name.find(L':')), L"sim");
}

} // namespace vnxtest
