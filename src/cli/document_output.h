// Where the document goes: standard output, and a file when one was asked for.
//
// Both get the same text. The file appears at the end, whole. One thread.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/atomic_file.h"

namespace vnxtest {

class DocumentOutput {
public:
    explicit DocumentOutput(std::FILE* stream) : m_stream(stream) {}

    // Begins the file. False when it cannot be written; Problem() says why.
    bool OpenFile(const std::filesystem::path& path);

    // Writes `text` (UTF-8, lines ended by "\n") to both at once, and remembers the first failure. What
    // has failed is not written to again; the other one is.
    void Write(std::string_view text);

    // Puts the file in its place, with whatever was written. False when that, or any write before,
    // failed.
    bool Finish();

    // Something could not be written: there is no use in going on.
    bool HasFailed() const { return !m_problem.empty(); }
    // Whole sentences about it.
    const std::wstring& Problem() const { return m_problem; }

    // The file, which is not open when none was asked for.
    const AtomicFile& File() const { return m_file; }

    // The last message of a failure that went through since ForgetFailures: its line, and the one below when
    // the message has two. Without time stamps; empty when there was none.
    const std::wstring& LastFailureMessage() const { return m_lastFailure; }
    // Before that failure the library said what this program may not open and what is to be done about it;
    // it is a part of the message.
    bool WasRefused() const { return !m_refusal.empty(); }
    void ForgetFailures() {
        m_lastFailure.clear();
        m_refusal.clear();
    }

private:
    void NoteFailures(std::string_view text);

    std::FILE* m_stream;
    bool m_streamFailed = false;
    AtomicFile m_file;
    bool m_fileWanted = false;
    std::wstring m_problem;
    std::wstring m_lastFailure;
    bool m_failureGoesOn = false; // the next line belongs to m_lastFailure
    std::wstring m_refusal;       // the lines of it
    bool m_refusalGoesOn = false;
};

} // namespace vnxtest
