#include "platform/files/atomic_file.h"

#include <windows.h>

#include <io.h>
#include <utility>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Temporary names do not grow with the destination's, which may be as long as a name can be.
constexpr wchar_t kTemporaryStart[] = L".vnxtest-";
constexpr wchar_t kTemporaryEnd[] = L".tmp";

// The identity of a file on a disk, whatever name it was opened by.
struct Identity {
    bool known = false;
    BY_HANDLE_FILE_INFORMATION information{};

    bool operator==(const Identity& other) const {
        return known && other.known &&
               information.dwVolumeSerialNumber == other.information.dwVolumeSerialNumber &&
               information.nFileIndexHigh == other.information.nFileIndexHigh &&
               information.nFileIndexLow == other.information.nFileIndexLow;
    }
};

Identity IdentityOf(HANDLE handle) {
    Identity identity;
    identity.known = GetFileType(handle) == FILE_TYPE_DISK &&
                     GetFileInformationByHandle(handle, &identity.information) != FALSE;
    return identity;
}

struct Destination {
    bool isSpecial = false; // a console, a pipe or NUL: cannot be replaced
    Identity identity;
};

Destination LookAt(const std::filesystem::path& path) {
    Destination found;
    const HANDLE handle = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        found.isSpecial = GetFileType(handle) != FILE_TYPE_DISK;
        found.identity = IdentityOf(handle);
        CloseHandle(handle);
    }
    return found;
}

// A file that is being written cannot be removed: its writer does not share deletion.
void RemoveLeftovers(const std::filesystem::path& folder) {
    const std::filesystem::path pattern = folder / (std::wstring(kTemporaryStart) + L"*" + kTemporaryEnd);
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        DeleteFileW((folder / found.cFileName).c_str());
    } while (FindNextFileW(search, &found) != FALSE);
    FindClose(search);
}

} // namespace

struct AtomicFile::State {
    std::filesystem::path target;
    std::filesystem::path temporary; // empty if the destination is written to directly
    Identity existing;
    HANDLE handle = INVALID_HANDLE_VALUE;

    bool IsOpen() const { return handle != INVALID_HANDLE_VALUE; }
    bool Close() { return CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE)) != FALSE; }
    // Null, or the call that failed, with the last error.
    const wchar_t* Create();
    const wchar_t* PutInPlace();
};

const wchar_t* AtomicFile::State::Create() {
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY))) {
        SetLastError(ERROR_ACCESS_DENIED);
        return L"CreateFile of";
    }
    RemoveLeftovers(target.parent_path());
    for (unsigned attempt = 0; attempt < 100 && !IsOpen(); ++attempt) {
        temporary = target.parent_path() / Sprintf(L"%s%x-%02x%s", std::wstring(kTemporaryStart),
                                                   static_cast<unsigned>(GetCurrentProcessId()), attempt,
                                                   std::wstring(kTemporaryEnd));
        handle = CreateFileW(temporary.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
        if (!IsOpen() && LastError() != ERROR_FILE_EXISTS) {
            break;
        }
    }
    if (!IsOpen()) {
        temporary.clear();
        return L"creation of a temporary file beside";
    }
    return nullptr;
}

const wchar_t* AtomicFile::State::PutInPlace() {
    if (FlushFileBuffers(handle) == FALSE) {
        return L"FlushFileBuffers of";
    }
    if (!Close()) {
        return L"CloseHandle of";
    }
    if (MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ==
        FALSE) {
        return L"MoveFileEx of";
    }
    temporary.clear();
    return nullptr;
}

AtomicFile::AtomicFile() = default;

AtomicFile::~AtomicFile() {
    Discard();
}

NoValue AtomicFile::Fail(const wchar_t* call) {
    auto failed = FailedCall(call);
    Failure& failure = failed.value();
    failure.text = Sprintf(L"%s %s failed; rc=%u: %s", call, m_path.wstring(), failure.lastError,
                           FormatLastError(failure.lastError));
    m_failure = failure;
    return failed;
}

NoValue AtomicFile::GiveUp(const wchar_t* call) {
    auto failed = Fail(call);
    Discard();
    return failed;
}

NoValue AtomicFile::Refuse(const wchar_t* reason) {
    auto refused = Refused(m_path.wstring() + L" " + reason);
    m_failure = refused.value();
    Discard();
    return refused;
}

// What every call returns after a failure, or while nothing is open.
NoValue AtomicFile::AsBefore() const {
    return m_failure ? NoValue(*m_failure) : FailedCall(L"write of", kErrorInvalidParameter);
}

// A user's own folders give new files the access that Private asks for.
Result<void> AtomicFile::Open(const std::filesystem::path& path, FileAccess, SpecialFiles special) {
    Discard();
    m_failure.reset();
    m_path = path;
    m_state = std::make_unique<State>();
    std::error_code error;
    const bool isLink = std::filesystem::is_symlink(path, error);
    const std::filesystem::path target = isLink ? std::filesystem::canonical(path, error) : path;
    m_state->target = isLink && !error ? target : path;
    const Destination found = LookAt(m_state->target);
    m_state->existing = found.identity;
    if (found.isSpecial && special == SpecialFiles::Refuse) {
        return Refuse(
            L"is no ordinary file but a pipe or a device, which cannot be replaced. Choose another name.");
    }
    const wchar_t* failed = nullptr;
    if (found.isSpecial) {
        m_state->handle =
            CreateFileW(m_state->target.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        failed = m_state->IsOpen() ? nullptr : L"CreateFile of";
    } else {
        failed = m_state->Create();
    }
    if (failed != nullptr) {
        return GiveUp(failed);
    }
    return {};
}

Result<void> AtomicFile::Write(std::string_view bytes) {
    if (!IsOpen() || m_failure) {
        return AsBefore();
    }
    while (!bytes.empty()) {
        constexpr std::size_t kPiece = 1U << 26;
        DWORD written = 0;
        const auto length = static_cast<DWORD>(bytes.size() < kPiece ? bytes.size() : kPiece);
        if (WriteFile(m_state->handle, bytes.data(), length, &written, nullptr) == FALSE) {
            return Fail(L"WriteFile of");
        }
        bytes.remove_prefix(written);
    }
    return {};
}

Result<void> AtomicFile::Commit() {
    if (!IsOpen() || m_failure) {
        Discard();
        return AsBefore();
    }
    const wchar_t* failed = nullptr;
    if (!IsWrittenThrough()) {
        failed = m_state->PutInPlace();
    } else if (!m_state->Close()) {
        failed = L"CloseHandle of";
    }
    if (failed != nullptr) {
        return GiveUp(failed);
    }
    Discard();
    return {};
}

void AtomicFile::Discard() {
    const ErrorKeeper keeper;
    if (m_state && m_state->IsOpen()) {
        m_state->Close();
    }
    if (m_state && !m_state->temporary.empty()) {
        DeleteFileW(m_state->temporary.c_str());
    }
    m_state.reset();
}

bool AtomicFile::IsOpen() const {
    return m_state != nullptr;
}

bool AtomicFile::IsWrittenThrough() const {
    return IsOpen() && m_state->temporary.empty();
}

bool AtomicFile::IsSameAs(const AtomicFile& other) const {
    if (!IsOpen() || !other.IsOpen()) {
        return false;
    }
    if (m_state->existing.known || other.m_state->existing.known) {
        return m_state->existing == other.m_state->existing;
    }
    std::error_code error;
    const auto absolute = [&error](const State& state) {
        return std::filesystem::weakly_canonical(state.target, error).wstring();
    };
    return EqualNoCase(absolute(*m_state), absolute(*other.m_state));
}

bool AtomicFile::IsSameAs(const std::filesystem::path& path) const {
    return IsOpen() && m_state->existing == LookAt(path).identity;
}

bool AtomicFile::IsSameAs(std::FILE* stream) const {
    const intptr_t handle = _get_osfhandle(_fileno(stream));
    return IsOpen() && m_state->existing == IdentityOf(reinterpret_cast<HANDLE>(handle));
}

std::filesystem::path AtomicFile::TemporaryPath() const {
    return IsOpen() ? m_state->temporary : std::filesystem::path();
}

} // namespace vnxtest
