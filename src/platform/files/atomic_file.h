// A file that appears whole or not at all.
//
// What is written has no name, or a temporary one beside the destination where the file system has no
// files without a name; Commit() puts it in the destination's place in one step, so that a reader sees
// the old content or the new one and a failure on the way (full disk, lost power, end of the program)
// leaves the old one untouched. One thread at a time.
//
// Names are taken byte for byte. On Linux every step goes by the descriptor of the destination's folder,
// so that nobody can put another file there between a check and its use; and in a folder with the sticky
// bit what others have put there is neither followed nor replaced (protected_symlinks, protected_regular
// and protected_fifos of proc(5), whatever the system's own setting is).
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

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

class AtomicFile {
public:
    AtomicFile();
    // Discards what was not committed.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    // Begins the file. A symbolic link is followed: the file it points at is replaced, the link stays.
    // A replaced file keeps its owner, its group, its permission bits and its access control list where the
    // writer may set them, and never a set-user-ID, set-group-ID or sticky bit. The user's temporary files
    // that an end without warning left in the folder are removed. False when it cannot be written there;
    // Problem() says why.
    bool Open(const std::filesystem::path& path, FileAccess access,
              SpecialFiles special = SpecialFiles::WriteThrough);
    // Appends `bytes`. After a failure every further call fails.
    bool Write(std::string_view bytes);
    // Brings everything to the disk and puts it in the destination's place. After a failure the
    // destination is as it was and the temporary file is gone.
    bool Commit();
    // Gives the file up and removes the temporary file. Does nothing when none is open.
    void Discard();

    bool IsOpen() const;
    // What is written goes to a pipe, a terminal or a device directly.
    bool IsWrittenThrough() const;

    // The destination is that of `other`, by whatever path. Both are open.
    bool IsSameAs(const AtomicFile& other) const;
    // The destination is the file at `path` or, on Linux, would become it.
    bool IsSameAs(const std::filesystem::path& path) const;
    // The destination is an ordinary file that `stream` writes to, also by the name of a descriptor
    // (/dev/stdout).
    bool IsSameAs(std::FILE* stream) const;

    // Where the uncommitted content lies; empty when it has no name.
    std::filesystem::path TemporaryPath() const;
    // One sentence about the first failure: the call, the file, the code and its text. Empty when
    // there was none.
    const std::wstring& Problem() const { return m_problem; }

private:
    struct State;

    bool Fail(const wchar_t* call);
    bool Refuse(const wchar_t* reason);

    std::filesystem::path m_path; // as it was given
    std::unique_ptr<State> m_state;
    std::wstring m_problem;
};

} // namespace vnxtest
