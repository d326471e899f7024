// A file that appears whole or not at all.
//
// What is written goes to a temporary file beside the destination; Commit() puts it in the
// destination's place in one step, so that a reader sees the old content or the new one and a
// failure on the way (full disk, lost power, end of the program) leaves the old one untouched. One
// thread at a time.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vnxtest {

enum class FileAccess {
    Document, // readable as the user's new files are; an existing file's access is kept
    Private,  // readable and writable by the user alone
};

class AtomicFile {
public:
    AtomicFile() = default;
    // Discards what was not committed.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Begins the file. A symbolic link is followed: the file it points at is replaced, the link
    // stays. A destination that exists and is no ordinary file (a pipe, a terminal, a device) cannot
    // be replaced: it is written to directly. False when it cannot be written there; Problem() says why.
    bool Open(const std::filesystem::path& path, FileAccess access);
    // Appends `bytes`. After a failure every further call fails.
    bool Write(std::string_view bytes);
    // Brings everything to the disk and puts it in the destination's place. After a failure the
    // destination is as it was and the temporary file is gone.
    bool Commit();
    // Gives the file up and removes the temporary file. Does nothing when none is open.
    void Discard();

    bool IsOpen() const { return m_handle != -1; }
    // Where the uncommitted content lies; empty when it has no file of its own.
    const std::filesystem::path& TemporaryPath() const { return m_temporary; }
    // One sentence about the first failure: the call, the file, the code and its text. Empty when
    // there was none.
    const std::wstring& Problem() const { return m_problem; }

private:
    bool Fail(const wchar_t* call, const std::filesystem::path& file);

    std::intptr_t m_handle = -1; // a file descriptor, or a HANDLE on Windows
    std::filesystem::path m_path;
    std::filesystem::path m_temporary; // empty when the destination is written to directly
    std::wstring m_problem;
};

} // namespace vnxtest
