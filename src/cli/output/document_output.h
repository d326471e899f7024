// The document's destinations: standard output, and a file if one was asked for.
//
// Both get the same text, each through its own writer (background_writer.h), so the caller waits for
// neither a reader nor a disk. The file appears at the end, whole. One thread.
#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/output/background_writer.h"
#include "platform/files/atomic_file.h"

namespace vnxtest {

class DocumentOutput {
public:
    // `onEnd` is called on any thread when one of the two has failed or is finished, not after the
    // destructor.
    explicit DocumentOutput(std::FILE* stream, std::function<void()> onEnd = nullptr);

    // Begins the file. A failure's text is a sentence.
    Result<void> OpenFile(const std::filesystem::path& path);
    // The file, which is not open if none was asked for. Not after the first Write().
    const AtomicFile& File() const { return *m_file; }

    // From now on the text goes to the file only, if there is one.
    void LeaveStreamOut() { m_streamLeftOut = true; }
    // Queues `text` (UTF-8, lines ended by "\n") for both. A failed one gets no more text; the other one
    // does.
    void Write(std::string text);

    // Ends the text: the rest is written, and then the file is moved into place.
    void Close();
    // The writers, to be waited for after Close().
    std::vector<BackgroundWriter*> Writers();

    // True if something could not be written.
    bool HasFailed() const { return !Problem().empty(); }
    // Whole sentences about that; empty without a failure.
    std::wstring Problem() const;
    // Whole sentences about lines left out so far; empty if there were none.
    std::wstring LeftOut() const;

    // The last failure message written since ForgetFailures(): its line, and the next one if the message
    // has two. Without time stamps; empty if there was none.
    const std::wstring& LastFailureMessage() const { return m_lastFailure; }
    // True if the library has told before that failure what this program may not open and what to do; that
    // is part of the message.
    bool WasRefused() const { return !m_refusal.empty(); }
    void ForgetFailures() {
        m_lastFailure.clear();
        m_refusal.clear();
    }

private:
    void NoteFailures(std::string_view text);

    std::function<void()> m_onEnd;
    BackgroundWriter m_stream;
    bool m_streamLeftOut = false;
    std::shared_ptr<AtomicFile> m_file = std::make_shared<AtomicFile>();
    std::unique_ptr<BackgroundWriter> m_fileWriter; // null without a file
    std::wstring m_lastFailure;
    bool m_failureGoesOn = false; // the next line belongs to m_lastFailure
    std::wstring m_refusal;       // its lines
    bool m_refusalGoesOn = false;
};

// The message for a failed write to standard output; `code` is the errno.
std::wstring DescribeStreamFailure(int code);

// A destination that writes `file` and commits it at the end; `what` begins the sentences about its
// failures.
BackgroundWriter::Destination WriteTo(const std::shared_ptr<AtomicFile>& file, const std::wstring& what);

} // namespace vnxtest
