#include "cli/document_output.h"

#include <cerrno>

#include "platform/terminal.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// What the library says of something that takes more rights than there are (DebugLines::TellRefusal).
constexpr std::string_view kRefusalMark = " may not be opened by this program itself. ";

constexpr std::size_t kStampLength = 13; // "hh:mm:ss.mmm "

std::string WithLineEnds(std::string_view text, std::string_view lineEnd) {
    std::string converted;
    converted.reserve(text.size() + text.size() / 32);
    for (const char c : text) {
        if (c == '\n') {
            converted += lineEnd;
        } else {
            converted += c;
        }
    }
    return converted;
}

} // namespace

bool DocumentOutput::OpenFile(const std::filesystem::path& path) {
    m_fileWanted = true;
    if (!m_file.Open(path, FileAccess::Document)) {
        m_problem = L"The document cannot be saved: " + m_file.Problem();
        return false;
    }
    return true;
}

void DocumentOutput::Write(std::string_view text) {
    if (text.empty()) {
        return;
    }
    if (!m_streamFailed) {
        // One call a batch, and out at once: what was said must be seen even if the program is killed.
        const bool written = std::fwrite(text.data(), 1, text.size(), m_stream) == text.size();
        if (!written || std::fflush(m_stream) != 0) {
            const int code = errno;
            m_streamFailed = true;
            m_problem += Sprintf(L"Standard output cannot be written; errno=%d: %s\n", code, StrError(code));
        }
    }
    if (m_file.IsOpen() && m_file.Problem().empty()) {
        const std::string_view lineEnd = kTextLineEnd;
        if (!m_file.Write(lineEnd == "\n" ? text : WithLineEnds(text, lineEnd))) {
            m_problem += L"The document cannot be saved: " + m_file.Problem() + L"\n";
        }
    }
    NoteFailures(text);
}

bool DocumentOutput::Finish() {
    if (m_fileWanted && m_file.IsOpen() && m_file.Problem().empty() && !m_file.Commit()) {
        m_problem += L"The document cannot be saved: " + m_file.Problem() + L"\n";
    }
    m_file.Discard();
    return !HasFailed();
}

void DocumentOutput::NoteFailures(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::string_view message = line.substr(std::min(line.size(), kStampLength));
        const bool begins = message.starts_with("** ") || message.starts_with("*** ");
        if (message.find(kRefusalMark) != std::string_view::npos) {
            m_refusal = FromUtf8(message) + L"\n";
            m_refusalGoesOn = true;
        } else if (m_refusalGoesOn && !begins) {
            m_refusal += FromUtf8(message) + L"\n";
        } else if (m_failureGoesOn) {
            m_lastFailure += L"\n" + FromUtf8(message);
            m_failureGoesOn = false;
        } else if ((message.starts_with("** ") || message.starts_with("*** MonitorThread: ")) &&
                   message.find(" failed") != std::string_view::npos) {
            m_lastFailure = m_refusal + FromUtf8(message);
            m_refusalGoesOn = false;
            m_failureGoesOn = message.ends_with(';');
        }
    }
}

} // namespace vnxtest
