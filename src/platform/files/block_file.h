// A file that grows by whole blocks and can be read while it does: a capture.
//
// Unlike an AtomicFile it stands in its place from the first block on, so an end of the program, however
// sudden, leaves what was written. The places where a file may be made are the same. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>

#include "wrenlib/failure.h"

namespace vnxtest {

// A failure's text is one sentence: the call, the file, the code and its text.
class BlockFile {
public:
    BlockFile();
    // Closes the file; a new one that was not begun is removed.
    ~BlockFile();
    BlockFile(BlockFile&& other) noexcept;
    BlockFile& operator=(BlockFile&& other) noexcept;

    // Opens the file at `path`, or makes it, readable and writable by the user alone. An existing one keeps
    // its content until Begin() and its access for good. A pipe or a device is written to as it is; the call
    // may block until a pipe has a reader.
    Result<void> Open(const std::filesystem::path& path);
    // Standard output instead, which stays open.
    Result<void> OpenStandardOutput();

    // Empties an ordinary file. Before the first Append().
    Result<void> Begin();
    // Appends `blocks`; may block. If it fails, `Written` says how many of its bytes are in the file.
    Result<void> Append(std::span<const std::uint8_t> blocks);
    // Of the last Append().
    std::size_t Written() const;
    // Removes the last `count` bytes of an ordinary file; no effect on another.
    Result<void> CutBack(std::size_t count);
    Result<void> Close();

    bool IsOpen() const { return m_state != nullptr; }
    // False for a pipe, a terminal, a device: a write may last for ever.
    bool IsOrdinary() const;
    bool IsTerminal() const;
    // True if the destination is the file at `path`, or an ordinary file that `stream` writes to.
    bool IsSameAs(const std::filesystem::path& path) const;
    bool IsSameAs(std::FILE* stream) const;

private:
    struct State;

    NoValue Fail(const wchar_t* call) const;
    NoValue GiveUp(const wchar_t* call);
    NoValue Refuse(const wchar_t* reason);

    std::filesystem::path m_path; // as it was given
    std::unique_ptr<State> m_state;
    std::size_t m_written = 0;
};

} // namespace vnxtest
