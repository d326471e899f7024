#include "vnetx/failure.h"

#include <cerrno>

#include "wrenlib/errors.h"

namespace vnxtest {
namespace {

// The Windows error code for an errno value. On Linux the last error is errno, which Fail() sets right
// after this.
std::uint32_t SystemCode(int code) {
    switch (code) {
    case EBADF:
        return 6; // ERROR_INVALID_HANDLE
    case EINVAL:
        return 87; // ERROR_INVALID_PARAMETER
    case ENOMEM:
        return 8; // ERROR_NOT_ENOUGH_MEMORY
    case EPERM:
    case EACCES:
        return 5; // ERROR_ACCESS_DENIED
    case ENODEV:
    case ENXIO:
        return 55; // ERROR_DEV_NOT_EXIST
    case EMSGSIZE:
        return 122; // ERROR_INSUFFICIENT_BUFFER
    case EBUSY:
        return 170; // ERROR_BUSY
    case ENOENT:
        return 126; // ERROR_MOD_NOT_FOUND: what is missing here is always a module
    case ENETDOWN:
        return 1231; // ERROR_NETWORK_UNREACHABLE
    default:
        return 31; // ERROR_GEN_FAILURE
    }
}

} // namespace

std::int32_t Fail(int code) {
    SetLastError(SystemCode(code));
    errno = code;
    return -1;
}

} // namespace vnxtest
