// Where the document goes: standard output, and a file when one was asked for.
//
// Both get the same text, each at its own pace: a writer of its own waits for it (background_writer.h),
// so nothing here waits for a reader or a disk. The file appears at the end, whole. One thread.
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
    // `onEnd` is called on any thread when one of the two has failed or is finished, never after this is
    // gone.
    explicit DocumentOutput(std::FILE* stream, std::function<void()> onEnd = nullptr);

    // Begins the file. False when it cannot be written; Problem() says why.
    bool OpenFile(const std::filesystem::path& path);
    // The file, which is not open when none was asked for. Not after the first Write.
    const AtomicFile& File() const { return *m_file; }

    // Hands `text` (UTF-8, lines ended by "\n") to both. What has failed gets nothing more; the other one
    // does.
    void Write(std::string text);

    // No more will come: what waits is written, and the file is put in its place then.
    void Close();
    // Those that write, to be waited for after Close.
    std::vector<BackgroundWriter*> Writers();

    // Something could not be written: there is no use in going on.
    bool HasFailed() const { return !Problem().empty(); }
    // Whole sentences about it.
    std::wstring Problem() const;
    // Whole sentences about lines that were left out so far; empty when there were none.
    std::wstring LeftOut() const;

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

    std::function<void()> m_onEnd;
    BackgroundWriter m_stream;
    std::shared_ptr<AtomicFile> m_file = std::make_shared<AtomicFile>();
    std::unique_ptr<BackgroundWriter> m_fileWriter; // null without a file
    std::wstring m_openProblem;
    std::wstring m_lastFailure;
    bool m_failureGoesOn = false; // the next line belongs to m_lastFailure
    std::wstring m_refusal;       // the lines of it
    bool m_refusalGoesOn = false;
};

// What writes `file` and commits it at the end; `what` begins the sentences about its failures.
BackgroundWriter::Destination WriteTo(const std::shared_ptr<AtomicFile>& file, const std::wstring& what);

} // namespace vnxtest
