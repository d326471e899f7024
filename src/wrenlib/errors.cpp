#include "wrenlib/errors.h"

#include <cerrno>

namespace vnxtest {

SavedErrors& SavedErrorsOfThread() {
    thread_local SavedErrors saved;
    return saved;
}

const SavedErrors& SaveErrors() {
    // errno is read first: LastError() is a call; reading errno does not change the last error.
    SavedErrors& saved = SavedErrorsOfThread();
    const int errnoValue = errno;
    saved.lastError = LastError();
    saved.errnoValue = errnoValue;
    return saved;
}

void RestoreSavedErrors() {
    const SavedErrors& saved = SavedErrorsOfThread();
    SetLastError(saved.lastError);
    errno = saved.errnoValue;
}

ErrorKeeper::ErrorKeeper() {
    m_kept.errnoValue = errno;
    m_kept.lastError = LastError();
}

ErrorKeeper::~ErrorKeeper() {
    SetLastError(m_kept.lastError);
    errno = m_kept.errnoValue;
}

} // namespace vnxtest
