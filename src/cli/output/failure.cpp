#include "cli/output/failure.h"

#include <cerrno>
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

// Its call is not known, but that the library cannot begin a thread is the one thing it says in this way.
std::wstring CallOf(const std::system_error& failure) {
    return failure.code() == std::errc::resource_unavailable_try_again ? L"pthread_create"
                                                                       : L"A call of the system";
}

} // namespace

std::wstring DescribeFailure(const Failure& failure) {
    const int code = failure.errnoValue;
    std::wstring text =
        Sprintf(L"The program cannot go on: %s failed; errno=%d: %s", failure.call, code, StrError(code));
    if (code == EAGAIN) {
        // The error of a new thread for each of these limits.
        text += L"\nA larger limit of processes or of memory helps (ulimit -u, ulimit -v).";
    } else if (code == EMFILE) {
        text += L"\nA larger limit of open files helps (ulimit -n).";
    }
    return text;
}

std::wstring DescribeFailure(const std::exception& failure) {
    if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) {
        return kNoMemory;
    }
    if (const auto* const call = dynamic_cast<const std::system_error*>(&failure)) {
        return DescribeFailure(Failure{CallOf(*call), call->code().value(), 0, {}});
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
