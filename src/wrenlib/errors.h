// Error numbers and their texts: errno, the system's last error, and the saved pair.
//
// On Windows errno and the last error are separate. On Linux the last error is errno, so that a failure
// message names the failing call's own code on both systems. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace vnxtest {

// The last-error code for a bad argument: ERROR_INVALID_PARAMETER (87) on Windows, EINVAL where
// the last error is errno.
extern const std::uint32_t kErrorInvalidParameter;
// For a lack of memory: ERROR_NOT_ENOUGH_MEMORY (8) on Windows, ENOMEM on Linux.
extern const std::uint32_t kErrorNotEnoughMemory;

// The calling thread's last error (GetLastError; errno on Linux), and setting it.
std::uint32_t LastError();
void SetLastError(std::uint32_t code);

// The errno value that a last-error code is: itself on Linux, none (0) on Windows.
int ErrnoOfLastError(std::uint32_t code);

// The text of an errno value, without a line end. Never empty.
std::wstring StrError(int code);

// The text of a last-error code (FormatMessage; strerror on Linux) to the letter, without a line end. Never
// empty. Windows ends its texts with a full stop: use EndSentence (text.h) at the end of a sentence.
std::wstring FormatLastError(std::uint32_t code);

// The saved errno and the saved last error. A failure's own values are kept here while its message
// is made, and put back afterwards. They are kept per thread: with two interfaces failing at once
// a shared pair would give one of them the other's code.
struct SavedErrors {
    int errnoValue = 0;
    std::uint32_t lastError = 0;
};
SavedErrors& SavedErrorsOfThread();

// Stores errno and the last error in the thread's saved pair and returns it.
const SavedErrors& SaveErrors();
// Puts the saved last error, then the saved errno, back.
void RestoreSavedErrors();

// Keeps errno and the last error over its own lifetime, apart from the saved pair.
class ErrorKeeper {
public:
    ErrorKeeper();
    ~ErrorKeeper();
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    SavedErrors m_kept;
};

} // namespace vnxtest
