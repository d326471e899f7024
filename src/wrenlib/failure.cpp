#include "wrenlib/failure.h"

#include <cerrno>
#include <utility>

#include "wrenlib/errors.h"

namespace vnxtest {

std::wstring Failure::Describe() const {
    return text.empty() ? FormatLastError(lastError) : text;
}

NoValue FailedCall(std::wstring_view call) {
    // The last error is read first: reading errno cannot change it.
    const std::uint32_t lastError = LastError();
    const int errnoValue = errno;
    return NoValue(Failure{std::wstring(call), errnoValue, lastError, {}});
}

NoValue FailedCall(std::wstring_view call, std::uint32_t code) {
    return NoValue(Failure{std::wstring(call), ErrnoOfLastError(code), code, {}});
}

NoValue Refused(std::wstring sentences) {
    return NoValue(Failure{{}, 0, 0, std::move(sentences)});
}

} // namespace vnxtest
