// A file that appears whole or not at all.
//
// The new file has no name, or a temporary one beside the destination if the file system has no unnamed
// files. Commit() puts it in the destination's place in one step, so that a reader sees the old content or
// the new one, and a failure (full disk, lost power, end of the program) leaves the old one untouched. One
// thread at a time.
//
// Names are taken byte for byte. On Linux every step uses the descriptor of the destination's folder, so
// that no file can be swapped between a check and its use. In a folder with the sticky bit other users'
// links and files are neither followed nor replaced (protected_symlinks, protected_regular and
// protected_fifos of proc(5), whatever the system's setting).
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "wrenlib/failure.h"

namespace vnxtest {

enum class FileAccess {
    Document, // readable as the user's new files are; an existing file's access is kept
    Private,  // readable and writable by the user alone
};

// A destination that exists and is no ordinary file: a pipe, a terminal, a device.
enum class SpecialFiles {
    WriteThrough, // cannot be replaced, so it is written to directly. May block until a pipe has a reader
    Refuse,       // for a caller that must not block
};

// A failure's text is one sentence: the call, the file, the code and its text.
class AtomicFile {
public:
    AtomicFile();
    // Discards what was not committed.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Begins the file. A symbolic link is followed: the file it points at is replaced, the link stays. A
    // replaced file keeps its owner, its group, its permission bits and its access control list if the
    // writer may set them, and never a set-user-ID, set-group-ID or sticky bit. Temporary files of the user
    // that a killed process left in the folder are removed. A failure if the file cannot be written there.
    Result<void> Open(const std::filesystem::path& path, FileAccess access,
                      SpecialFiles special = SpecialFiles::WriteThrough);
    // Appends `bytes`. After a failure every further call returns the same.
    Result<void> Write(std::string_view bytes);
    // Flushes everything to the disk and moves it into the destination's place. After a failure the
    // destination is unchanged and the temporary file is removed.
    Result<void> Commit();
    // Discards the file and removes the temporary file. No effect if none is open.
    void Discard();

    bool IsOpen() const;
    // True if writes go directly to a pipe, a terminal or a device.
    bool IsWrittenThrough() const;

    // True if the destination is that of `other`, by whatever path. Both are open.
    bool IsSameAs(const AtomicFile& other) const;
    // True if the destination is the file at `path` or, on Linux, would become it.
    bool IsSameAs(const std::filesystem::path& path) const;
    // True if the destination is an ordinary file that `stream` writes to, also by the name of a descriptor
    // (/dev/stdout).
    bool IsSameAs(std::FILE* stream) const;

    // The path of the uncommitted content; empty if it has no name.
    std::filesystem::path TemporaryPath() const;

private:
    struct State;

    NoValue Fail(const wchar_t* call);
    NoValue GiveUp(const wchar_t* call);
    NoValue Refuse(const wchar_t* reason);
    NoValue AsBefore() const;

    std::filesystem::path m_path; // as it was given
    std::unique_ptr<State> m_state;
    std::optional<Failure> m_failure; // the first one
};

} // namespace vnxtest
