// How a function says that it has failed: one type for all of them above the C contract of the interface
// library, which has errno and the last error alone (vnetx/vnetx.h).
//
// Result<T> is a value or a Failure. Exceptions are left to the standard library, for memory and threads that
// the system has not got.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <tl/expected.hpp>

namespace vnxtest {

struct Failure {
    // The call of the system or of a library that failed. Empty where none did and something was refused.
    std::wstring call;
    // What the call left behind, or returned. On Linux they are one.
    int errnoValue = 0;
    std::uint32_t lastError = 0;
    // Where no call failed: why, as whole sentences. Where one did: its own words, if it has others than the
    // system has for the code.
    std::wstring text;

    // The text, or else the system's for the last error. Never empty, without a line end.
    std::wstring Describe() const;
};

template <typename T>
using Result = tl::expected<T, Failure>;

// What a function returns in the place of its value.
using NoValue = tl::unexpected<Failure>;

// `call` has just failed on this thread and left its codes in errno and the last error.
NoValue FailedCall(std::wstring_view call);
// `call` has returned its code: an errno value on Linux, on Windows one of the last error.
NoValue FailedCall(std::wstring_view call, std::uint32_t code);
// Nothing was called, or what was called gives no code.
NoValue Refused(std::wstring sentences);
// Takes the failure out of a result that is one.
template <typename T>
NoValue PassOn(Result<T>& failed) {
    return NoValue(std::move(failed.error()));
}

} // namespace vnxtest
