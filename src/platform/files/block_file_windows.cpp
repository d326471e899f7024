#include "platform/files/block_file.h"

#include <windows.h>

#include <io.h>
#include <utility>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

bool IsSameFile(HANDLE left, HANDLE right) {
    BY_HANDLE_FILE_INFORMATION here{}, there{};
    return GetFileType(left) == FILE_TYPE_DISK && GetFileType(right) == FILE_TYPE_DISK &&
           GetFileInformationByHandle(left, &here) != FALSE &&
           GetFileInformationByHandle(right, &there) != FALSE &&
           here.dwVolumeSerialNumber == there.dwVolumeSerialNumber &&
           here.nFileIndexHigh == there.nFileIndexHigh && here.nFileIndexLow == there.nFileIndexLow;
}

bool MoveTo(HANDLE handle, LONGLONG position) {
    LARGE_INTEGER to{};
    to.QuadPart = position;
    return SetFilePointerEx(handle, to, nullptr, FILE_BEGIN) != FALSE;
}

} // namespace

struct BlockFile::State {
    HANDLE handle = INVALID_HANDLE_VALUE;
    std::filesystem::path made; // made here, and empty so far
    bool isStandardOutput = false;
    LONGLONG length = 0; // of an ordinary file, since Begin()

    ~State() {
        LARGE_INTEGER size{};
        const bool isEmpty =
            handle != INVALID_HANDLE_VALUE && GetFileSizeEx(handle, &size) != FALSE && size.QuadPart == 0;
        Close();
        if (!made.empty() && isEmpty) {
            DeleteFileW(made.c_str());
        }
    }
    bool Close() {
        const HANDLE closing = std::exchange(handle, INVALID_HANDLE_VALUE);
        return closing == INVALID_HANDLE_VALUE || CloseHandle(closing) != FALSE;
    }
};

BlockFile::BlockFile() = default;
BlockFile::~BlockFile() = default;
BlockFile::BlockFile(BlockFile&& other) noexcept = default;
BlockFile& BlockFile::operator=(BlockFile&& other) noexcept = default;

NoValue BlockFile::Fail(const wchar_t* call) const {
    auto failed = FailedCall(call);
    Failure& failure = failed.value();
    failure.text = Sprintf(L"%s %s failed; rc=%u: %s", call, m_path.wstring(), failure.lastError,
                           FormatLastError(failure.lastError));
    return failed;
}

NoValue BlockFile::GiveUp(const wchar_t* call) {
    auto failed = Fail(call);
    m_state.reset();
    return failed;
}

// A user's own folders give new files the access that only the user has.
Result<void> BlockFile::Open(const std::filesystem::path& path) {
    constexpr DWORD kShare = FILE_SHARE_READ; // not with another capture
    m_path = path;
    m_state = std::make_unique<State>();
    HANDLE& handle = m_state->handle;
    handle = CreateFileW(path.c_str(), GENERIC_WRITE, kShare, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
    if (handle == INVALID_HANDLE_VALUE && LastError() == ERROR_FILE_NOT_FOUND) {
        handle = CreateFileW(path.c_str(), GENERIC_WRITE, kShare, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                             nullptr);
        if (handle != INVALID_HANDLE_VALUE) {
            m_state->made = path;
        }
    }
    if (handle == INVALID_HANDLE_VALUE) {
        return GiveUp(L"CreateFile of");
    }
    return {};
}

Result<void> BlockFile::OpenStandardOutput() {
    m_path = L"standard output";
    m_state = std::make_unique<State>();
    m_state->isStandardOutput = true;
    const HANDLE process = GetCurrentProcess();
    if (DuplicateHandle(process, GetStdHandle(STD_OUTPUT_HANDLE), process, &m_state->handle, 0, FALSE,
                        DUPLICATE_SAME_ACCESS) == FALSE) {
        m_state->handle = INVALID_HANDLE_VALUE;
        return GiveUp(L"DuplicateHandle of");
    }
    return {};
}

Result<void> BlockFile::Begin() {
    m_state->made.clear(); // it stays from now on
    if (IsOrdinary() && !m_state->isStandardOutput &&
        (!MoveTo(m_state->handle, 0) || SetEndOfFile(m_state->handle) == FALSE)) {
        return Fail(L"SetEndOfFile of");
    }
    return {};
}

Result<void> BlockFile::Append(std::span<const std::uint8_t> blocks) {
    m_written = 0;
    while (m_written < blocks.size()) {
        DWORD written = 0;
        if (WriteFile(m_state->handle, blocks.data() + m_written,
                      static_cast<DWORD>(blocks.size() - m_written), &written, nullptr) == FALSE) {
            return Fail(L"WriteFile of");
        }
        m_written += written;
        m_state->length += written;
    }
    return {};
}

std::size_t BlockFile::Written() const {
    return m_written;
}

Result<void> BlockFile::CutBack(std::size_t count) {
    if (!IsOrdinary() || m_state->isStandardOutput || count == 0) {
        return {};
    }
    m_state->length -= static_cast<LONGLONG>(count);
    if (!MoveTo(m_state->handle, m_state->length) || SetEndOfFile(m_state->handle) == FALSE) {
        return Fail(L"SetEndOfFile of");
    }
    return {};
}

Result<void> BlockFile::Close() {
    const bool closed = !m_state || m_state->Close();
    if (!closed) {
        return GiveUp(L"CloseHandle of");
    }
    m_state.reset();
    return {};
}

bool BlockFile::IsOrdinary() const {
    return IsOpen() && GetFileType(m_state->handle) == FILE_TYPE_DISK;
}

bool BlockFile::IsTerminal() const {
    DWORD mode = 0;
    return IsOpen() && GetConsoleMode(m_state->handle, &mode) != FALSE;
}

bool BlockFile::IsSameAs(const std::filesystem::path& path) const {
    if (!IsOpen()) {
        return false;
    }
    const HANDLE other = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
    const bool same = other != INVALID_HANDLE_VALUE && IsSameFile(m_state->handle, other);
    if (other != INVALID_HANDLE_VALUE) {
        CloseHandle(other);
    }
    return same;
}

bool BlockFile::IsSameAs(std::FILE* stream) const {
    return IsOpen() && IsSameFile(m_state->handle, reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))));
}

} // namespace vnxtest
