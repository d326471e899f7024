// The built-in libraries as a shared library that exports the contract of vnetx.h.
//
// The environment variable VNETX_LIBRARY names the one it serves ("pcap", "tun", "sim", "sim:loss=5,...");
// without it, pcap. A name that is refused makes every vnetx32_open fail with EINVAL and sends the reason
// to the debug output function.
#include <cerrno>
#include <cstdlib>
#include <new>

#include "vnetx/choice/builtin.h"
#include "vnetx/failure.h"
#include "vnetx/vnetx.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

// VNETX_EXPORT is the compiler's word for an exported function; the build supplies it.

namespace vnxtest {
namespace {

const Result<std::unique_ptr<VnetxLibrary>>& Serve() {
    static const auto served = []() -> Result<std::unique_ptr<VnetxLibrary>> {
        const char* chosen = std::getenv("VNETX_LIBRARY");
        const std::wstring name = chosen && *chosen ? ToWide(chosen) : L"pcap";
        auto made = MakeBuiltinLibrary(name);
        if (made && *made == nullptr) {
            return Refused(
                Sprintf(L"VNETX_LIBRARY is \"%s\": it must be pcap, tun, sim or sim:OPTIONS.", name));
        }
        return made;
    }();
    return served;
}

// Calls `operation` on the library served. No exception leaves the shared library: `failure` is
// returned instead, with errno set.
template <typename Returned, typename Operation>
Returned Call(Returned failure, Operation operation) noexcept {
    try {
        if (const auto& library = Serve()) {
            return operation(**library);
        }
        Fail(EINVAL);
    } catch (const std::bad_alloc&) {
        Fail(ENOMEM);
    } catch (...) {
        Fail(EIO);
    }
    return failure;
}

} // namespace
} // namespace vnxtest

using vnxtest::Call;
using vnxtest::VnetxLibrary;

extern "C" {

VNETX_EXPORT std::int32_t vnetx32_open(const char* name, std::int32_t flags) {
    return Call(-1, [&](VnetxLibrary& library) { return library.Open(name, flags); });
}

VNETX_EXPORT std::int32_t vnetx32_close(std::int32_t handle) {
    return Call(-1, [&](VnetxLibrary& library) {
        library.Close(handle);
        return 0;
    });
}

VNETX_EXPORT std::int32_t vnetx32_ioctl(std::int32_t handle, std::uint32_t request, void* record) {
    return Call(-1, [&](VnetxLibrary& library) { return library.Ioctl(handle, request, record); });
}

VNETX_EXPORT std::int32_t vnetx32_read(std::int32_t handle, void* buffer, std::uint32_t size) {
    return Call(-1, [&](VnetxLibrary& library) { return library.Read(handle, buffer, size); });
}

VNETX_EXPORT std::int32_t vnetx32_write(std::int32_t handle, const void* frame, std::uint32_t length) {
    return Call(-1, [&](VnetxLibrary& library) { return library.Write(handle, frame, length); });
}

#ifndef VNETX_LACKING // the tests build one that lacks these two
VNETX_EXPORT std::int32_t vnetx32_get_stats(std::int32_t handle, VnetxStatistics* record) {
    return Call(-1, [&](VnetxLibrary& library) { return library.GetStats(handle, record); });
}

VNETX_EXPORT const char* vnetx32_copyright_string() {
    return Call("", [](VnetxLibrary& library) { return library.CopyrightString(); });
}
#endif

VNETX_EXPORT std::uint16_t vnetx32_calc_inet_checksum(const void* bytes, std::uint32_t length) {
    return Call(std::uint16_t{0},
                [&](VnetxLibrary& library) { return library.CalcInetChecksum(bytes, length); });
}

VNETX_EXPORT void vnetx32_build_vant_iface_mac(std::uint8_t* mac, const std::uint8_t* ip) {
    Call(0, [&](VnetxLibrary& library) {
        library.BuildVantIfaceMac(mac, ip);
        return 0;
    });
}

VNETX_EXPORT const char* vnetx32_get_default_iface() {
    return Call("", [](VnetxLibrary& library) { return library.GetDefaultIface(); });
}

VNETX_EXPORT std::int32_t vnetx32_set_debug_output_func(VnetxDebugOutput callback) {
    if (const auto& served = vnxtest::Serve(); !served && callback) {
        callback((vnxtest::ToNarrow(served.error().text) + "\n").c_str());
    }
    return Call(0, [&](VnetxLibrary& library) { return library.SetDebugOutputFunc(callback); });
}

VNETX_EXPORT void vnetx32_version_numbers(std::int32_t* major, std::int32_t* minor, std::int32_t* release,
                                          std::int32_t* build) {
    Call(0, [&](VnetxLibrary& library) {
        library.VersionNumbers(major, minor, release, build);
        return 0;
    });
}

VNETX_EXPORT const char* vnetx32_version_string() {
    return Call("", [](VnetxLibrary& library) { return library.VersionString(); });
}

} // extern "C"
