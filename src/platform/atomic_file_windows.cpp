#include <windows.h>

#include "platform/atomic_file.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

HANDLE AsHandle(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// A file on a disk can be replaced; a console, a pipe or NUL cannot.
bool IsOrdinaryOrMissing(const std::filesystem::path& path) {
    const HANDLE handle = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return true;
    }
    const DWORD type = GetFileType(handle);
    CloseHandle(handle);
    return type == FILE_TYPE_DISK;
}

} // namespace

AtomicFile::~AtomicFile() {
    Discard();
}

bool AtomicFile::Fail(const wchar_t* call, const std::filesystem::path& file) {
    if (m_problem.empty()) {
        const std::uint32_t code = LastError();
        m_problem = Sprintf(L"%s %s failed; rc=%u: %s", call, file.wstring(), code, FormatLastError(code));
    }
    return false;
}

// A user's own folders give new files the access that Private asks for.
bool AtomicFile::Open(const std::filesystem::path& path, FileAccess) {
    Discard();
    m_problem.clear();
    std::error_code error;
    const bool isLink = std::filesystem::is_symlink(path, error);
    const std::filesystem::path target = isLink ? std::filesystem::canonical(path, error) : path;
    m_path = isLink && !error ? target : path;
    if (!IsOrdinaryOrMissing(m_path)) {
        m_handle = reinterpret_cast<std::intptr_t>(
            CreateFileW(m_path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return IsOpen() || Fail(L"CreateFile of", m_path);
    }
    const DWORD attributes = GetFileAttributesW(m_path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY))) {
        SetLastError(ERROR_ACCESS_DENIED);
        return Fail(L"CreateFile of", m_path);
    }
    for (unsigned attempt = 0; attempt < 100 && !IsOpen(); ++attempt) {
        m_temporary = m_path;
        m_temporary += Sprintf(L".%x%02x.tmp", static_cast<unsigned>(GetCurrentProcessId()), attempt);
        m_handle =
            reinterpret_cast<std::intptr_t>(CreateFileW(m_temporary.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                                        nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!IsOpen() && LastError() != ERROR_FILE_EXISTS) {
            break;
        }
    }
    if (!IsOpen()) {
        m_temporary.clear();
        return Fail(L"creation of a temporary file beside", m_path);
    }
    return true;
}

bool AtomicFile::Write(std::string_view bytes) {
    if (!IsOpen() || !m_problem.empty()) {
        return false;
    }
    while (!bytes.empty()) {
        constexpr std::size_t kPiece = 1U << 26;
        DWORD written = 0;
        const auto length = static_cast<DWORD>(bytes.size() < kPiece ? bytes.size() : kPiece);
        if (WriteFile(AsHandle(m_handle), bytes.data(), length, &written, nullptr) == FALSE) {
            return Fail(L"WriteFile of", m_path);
        }
        bytes.remove_prefix(written);
    }
    return true;
}

bool AtomicFile::Commit() {
    if (!IsOpen() || !m_problem.empty()) {
        Discard();
        return false;
    }
    const HANDLE handle = AsHandle(m_handle);
    m_handle = -1;
    if (m_temporary.empty()) {
        return CloseHandle(handle) != FALSE || Fail(L"CloseHandle of", m_path);
    }
    bool good = FlushFileBuffers(handle) != FALSE || Fail(L"FlushFileBuffers of", m_path);
    good = (CloseHandle(handle) != FALSE || Fail(L"CloseHandle of", m_path)) && good;
    good = good && (MoveFileExW(m_temporary.c_str(), m_path.c_str(),
                                MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE ||
                    Fail(L"MoveFileEx of", m_path));
    if (!good) {
        DeleteFileW(m_temporary.c_str());
    }
    m_temporary.clear();
    return good;
}

void AtomicFile::Discard() {
    const ErrorKeeper keeper;
    if (IsOpen()) {
        CloseHandle(AsHandle(m_handle));
        m_handle = -1;
    }
    if (!m_temporary.empty()) {
        DeleteFileW(m_temporary.c_str());
        m_temporary.clear();
    }
}

} // namespace vnxtest
