#include "cli/output/failure.h"

#include <cstdio>
#include <new>
#include <system_error>

#include "cli/output/console.h"
#include "platform/process/stop_signal.h"
#include "platform/process/terminal.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr wchar_t kNoMemory[] =
    L"The program cannot go on: there is not enough memory. A larger limit helps (ulimit -v), or other programs that end.";

// A system_error's text is "CALL: TEXT", or the text alone.
std::wstring CallOf(const std::system_error& failure) {
    const std::string what = failure.what();
    const std::string text = failure.code().message();
    const bool named = what.size() > text.size() + 2 && what.ends_with(": " + text);
    return named ? ToWide(what.substr(0, what.size() - text.size() - 2)) : L"A call of the system";
}

std::wstring DescribeSystemError(const std::system_error& failure) {
    const int code = failure.code().value();
    std::wstring text =
        Sprintf(L"The program cannot go on: %s failed; errno=%d: %s", CallOf(failure), code, StrError(code));
    if (failure.code() == std::errc::resource_unavailable_try_again) {
        // The error of a new thread for each of these limits.
        text += L"\nA larger limit of processes or of memory helps (ulimit -u, ulimit -v).";
    } else if (failure.code() == std::errc::too_many_files_open) {
        text += L"\nA larger limit of open files helps (ulimit -n).";
    }
    return text;
}

} // namespace

std::wstring DescribeFailure(const std::exception& failure) {
    if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) {
        return kNoMemory;
    }
    if (const auto* const call = dynamic_cast<const std::system_error*>(&failure)) {
        return DescribeSystemError(*call);
    }
    return L"The program cannot go on: " + ToWide(failure.what());
}

void EndAfterFailure() {
    try {
        if (std::current_exception()) {
            std::rethrow_exception(std::current_exception());
        }
        Complain(L"The program cannot go on: one of its own promises was broken.");
    } catch (const std::exception& failure) {
        try {
            Complain(DescribeFailure(failure));
        } catch (...) {
            WriteAll(stderr, "vnxtest-cli: The program cannot go on: there is not enough memory.\n");
        }
    } catch (...) {
        WriteAll(stderr, "vnxtest-cli: The program cannot go on.\n");
    }
    EndProcessAtOnce(kExitFailure);
}

} // namespace vnxtest
