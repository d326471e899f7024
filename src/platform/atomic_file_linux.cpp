#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/atomic_file.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// What a symbolic link, or a chain of them, points at. A link to nothing is left to the open call.
std::filesystem::path FollowLinks(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) {
        return path;
    }
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target;
}

// The mode of files that the user makes anew.
mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

AtomicFile::~AtomicFile() {
    Discard();
}

bool AtomicFile::Fail(const wchar_t* call, const std::filesystem::path& file) {
    if (m_problem.empty()) {
        const int code = errno;
        m_problem =
            Sprintf(L"%s %s failed; errno=%d: %s", call, FromUtf8(file.native()), code, StrError(code));
    }
    return false;
}

bool AtomicFile::Open(const std::filesystem::path& path, FileAccess access) {
    Discard();
    m_problem.clear();
    m_path = FollowLinks(path);
    struct stat existing {};
    const bool exists = stat(m_path.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) {
        errno = EISDIR;
        return Fail(L"open of", m_path);
    }
    if (exists && !S_ISREG(existing.st_mode)) {
        m_handle = open(m_path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        return IsOpen() || Fail(L"open of", m_path);
    }
    if (exists && access == FileAccess::Document && ::access(m_path.c_str(), W_OK) != 0) {
        return Fail(L"open of", m_path); // replacing it would get round its protection
    }
    std::string name = m_path.parent_path() / ("." + m_path.filename().native() + ".XXXXXX");
    m_handle = mkostemp(name.data(), O_CLOEXEC);
    if (!IsOpen()) {
        return Fail(L"creation of a temporary file beside", m_path);
    }
    m_temporary = name;
    const mode_t mode = access == FileAccess::Private ? 0600
                        : exists                      ? existing.st_mode & 07777
                                                      : NewFileMode();
    if (fchmod(static_cast<int>(m_handle), mode) != 0) {
        Fail(L"fchmod of", m_temporary);
        Discard();
        return false;
    }
    return true;
}

bool AtomicFile::Write(std::string_view bytes) {
    if (!IsOpen() || !m_problem.empty()) {
        return false;
    }
    while (!bytes.empty()) {
        const ssize_t written = write(static_cast<int>(m_handle), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail(L"write of", m_path);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool AtomicFile::Commit() {
    if (!IsOpen() || !m_problem.empty()) {
        Discard();
        return false;
    }
    const int handle = static_cast<int>(m_handle);
    if (m_temporary.empty()) {
        m_handle = -1;
        return close(handle) == 0 || Fail(L"close of", m_path);
    }
    bool good = fsync(handle) == 0 || Fail(L"fsync of", m_path);
    m_handle = -1;
    good = (close(handle) == 0 || Fail(L"close of", m_path)) && good;
    good = good && (rename(m_temporary.c_str(), m_path.c_str()) == 0 || Fail(L"rename of", m_path));
    if (!good) {
        unlink(m_temporary.c_str());
    }
    m_temporary.clear();
    return good;
}

void AtomicFile::Discard() {
    const ErrorKeeper keeper;
    if (IsOpen()) {
        close(static_cast<int>(m_handle));
        m_handle = -1;
    }
    if (!m_temporary.empty()) {
        unlink(m_temporary.c_str());
        m_temporary.clear();
    }
}

} // namespace vnxtest
