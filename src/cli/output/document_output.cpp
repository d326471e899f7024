#include "cli/output/document_output.h"

#include <algorithm>
#include <cerrno>

#include "cli/output/live_line.h"
#include "platform/process/terminal.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The mark of a library's line about missing rights (DebugLines::TellRefusal).
constexpr std::string_view kRefusalMark = " may not be opened by this program itself. ";

constexpr std::string_view kFailureMark = " failed";

// True if one of the marks is somewhere in `text`. Both have an "f", which few lines have.
bool HasMark(std::string_view text) {
    const auto isAround = [&text](std::size_t at, std::string_view mark) {
        const std::size_t before = mark.find('f');
        return at >= before && text.substr(at - before).starts_with(mark);
    };
    for (std::size_t at = text.find('f'); at != std::string_view::npos; at = text.find('f', at + 1)) {
        if (isAround(at, kFailureMark) || isAround(at, kRefusalMark)) {
            return true;
        }
    }
    return false;
}

constexpr const wchar_t* kCannotBeSaved = L"The document cannot be saved: ";

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

BackgroundWriter::Destination WriteTo(std::FILE* stream) {
    const bool besideLiveLine = IsSameTerminal(stream, stderr);
    const auto write = [stream, besideLiveLine](std::string_view text) {
        // Unbuffered: lines must be seen even if the program is killed.
        if (besideLiveLine ? WriteAroundLiveLine(stream, text) : WriteAll(stream, text)) {
            return std::wstring();
        }
        return DescribeStreamFailure(errno);
    };
    return {write, nullptr, IsOrdinaryFile(stream)};
}

} // namespace

std::wstring DescribeStreamFailure(int code) {
    return Sprintf(L"Standard output cannot be written; errno=%d: %s", code, StrError(code));
}

BackgroundWriter::Destination WriteTo(const std::shared_ptr<AtomicFile>& file, const std::wstring& what) {
    const auto write = [file, what](std::string_view text) {
        const std::string_view lineEnd = kTextLineEnd;
        const auto written = file->Write(lineEnd == "\n" ? text : WithLineEnds(text, lineEnd));
        return written ? std::wstring() : what + written.error().text;
    };
    const auto finish = [file, what] {
        const auto committed = file->Commit();
        return committed ? std::wstring() : what + committed.error().text;
    };
    return {write, finish, !file->IsWrittenThrough()};
}

DocumentOutput::DocumentOutput(std::FILE* stream, std::function<void()> onEnd)
    : m_onEnd(std::move(onEnd)), m_stream(WriteTo(stream), m_onEnd) {}

Result<void> DocumentOutput::OpenFile(const std::filesystem::path& path) {
    if (auto opened = m_file->Open(path, FileAccess::Document); !opened) {
        std::wstring& text = opened.error().text;
        text = kCannotBeSaved + text;
        return opened;
    }
    m_fileWriter = std::make_unique<BackgroundWriter>(vnxtest::WriteTo(m_file, kCannotBeSaved), m_onEnd);
    return {};
}

void DocumentOutput::Write(std::string text) {
    NoteFailures(text);
    if (text.capacity() - text.size() > text.size() / 4) {
        text.shrink_to_fit(); // the queue is bounded by bytes in use
    }
    const auto lines = std::make_shared<const std::string>(std::move(text));
    if (!m_streamLeftOut) {
        m_stream.Append(lines);
    }
    if (m_fileWriter) {
        m_fileWriter->Append(lines);
    }
}

void DocumentOutput::Close() {
    for (BackgroundWriter* const writer : Writers()) {
        writer->Close();
    }
}

std::vector<BackgroundWriter*> DocumentOutput::Writers() {
    return m_fileWriter ? std::vector{&m_stream, m_fileWriter.get()} : std::vector{&m_stream};
}

std::wstring DocumentOutput::Problem() const {
    std::wstring text;
    for (const BackgroundWriter* const writer :
         {&m_stream, static_cast<const BackgroundWriter*>(m_fileWriter.get())}) {
        const std::wstring problem = writer != nullptr ? writer->Problem() : std::wstring();
        text += text.empty() || problem.empty() ? problem : L"\n" + problem;
    }
    return text;
}

std::wstring DocumentOutput::LeftOut() const {
    std::wstring text;
    if (const std::uint64_t count = m_stream.LinesLeftOut(); count > 0) {
        text = Sprintf(
            L"Standard output was not read fast enough: %u lines of the document are missing there.", count);
    }
    if (const std::uint64_t count = m_fileWriter ? m_fileWriter->LinesLeftOut() : 0; count > 0) {
        text += text.empty() ? L"" : L"\n";
        text += Sprintf(
            L"The file of --output could not be written fast enough: %u lines of the document are missing there.",
            count);
    }
    return text;
}

void DocumentOutput::NoteFailures(std::string_view text) {
    if (!m_refusalGoesOn && !m_failureGoesOn && !HasMark(text)) {
        return; // as nearly all text, so that it is looked through once and not line by line
    }
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
                   message.find(kFailureMark) != std::string_view::npos) {
            m_lastFailure = m_refusal + FromUtf8(message);
            m_refusalGoesOn = false;
            m_failureGoesOn = message.ends_with(';');
        }
    }
}

} // namespace vnxtest
