// Many lines into the window's text: lines a second, memory a line up to the first tenth and beyond, how long
// events wait meanwhile, and the times of a resize, of a search through all of it, and of saving.
// window_flood [LINES], a million unless said otherwise. Needs a display, and room for the file in the folder
// for temporary files.
//
// Two threads write, as in a ping test, in small batches and one large one, and wait when more is pending
// than the window can keep up with. A third queues an event every millisecond; its delay is that of a key or
// a click.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>

#include <wx/app.h>
#include <wx/fdrepdlg.h>
#include <wx/frame.h>
#include <wx/utils.h>

#include "core/output_channel.h"
#include "platform/files/atomic_file.h"
#include "ui/text/output_pump.h"
#include "ui/text/output_text.h"
#include "widgets/make_child.h"

namespace vnxtest {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kWriters = 2;
constexpr int kUsualLines = 1'000'000;
// Of one batch, and of what waits for the window: below what the channel leaves out (32 MiB).
constexpr int kLargestBatch = 100'000;
constexpr int kMostWaiting = 150'000;

double MillisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    double pages = 0;
    statm >> pages >> pages;
    return pages * 4096;
}

class FloodApp final : public wxApp, public ViewPort {
public:
    bool OnInit() override {
        if (argc > 1 && (!wxString(argv[1]).ToInt(&m_lines) || m_lines < 10 * kWriters)) {
            std::fputs("window_flood [LINES]\n", stderr);
            return false;
        }
        m_frame = MakeChild<wxFrame>(nullptr, wxID_ANY, "flood", wxDefaultPosition, wxSize(900, 600));
        m_text = MakeChild<COutputText>(m_frame);
        m_pump.emplace(m_channel, *m_text, [] {});
        m_frame->Show();
        m_memory = ResidentBytes();
        m_begin = Clock::now();
        for (int writer = 0; writer < kWriters; ++writer) {
            m_threads.emplace_back([this] { Write(); });
        }
        m_threads.emplace_back([this] {
            while (m_probing) {
                CallAfter([this, sent = Clock::now()] { NoteDelay(sent); });
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        return true;
    }

    void PostViewMessage(ViewMessage) override {
        CallAfter([this] { m_pump->OnOutputPending(); });
    }

private:
    void Write() {
        const int count = m_lines / kWriters;
        for (int line = 0; line < count;) {
            std::string lines;
            const int batch = line == 0 ? std::min(count / 5, kLargestBatch) : 500;
            for (const int end = std::min(line + batch, count); line < end; ++line) {
                lines += "04:05:06.789  Reply to ping #" + std::to_string(line) +
                         " received from 198.18.0.2: bytes=32 time=<1ms TTL=64\n";
            }
            m_channel.Append(lines);
            do {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            } while (line - m_taken / kWriters > kMostWaiting);
        }
    }

    void NoteDelay(Clock::time_point sent) {
        m_delays.push_back(MillisecondsSince(sent));
        const int lines = m_text->GetLineCount();
        m_taken = lines;
        if (m_tenthLines == 0 && lines > m_lines / 10) {
            m_tenthLines = lines;
            m_tenthMemory = ResidentBytes();
        }
        if (m_probing && lines > m_lines / kWriters * kWriters) {
            m_probing = false;
            Finish();
        }
    }

    void Finish() {
        const double seconds = MillisecondsSince(m_begin) / 1000;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        const double memory = ResidentBytes();
        constexpr std::array kWidths = {700, 1000, 600, 900};
        const auto resize = Clock::now();
        for (const int width : kWidths) {
            m_frame->SetSize(width, 500);
            m_frame->Update();
            wxSafeYield();
        }
        const double resizing = MillisecondsSince(resize) / kWidths.size();
        const double searching = Search();
        const double saving = Save();
        std::sort(m_delays.begin(), m_delays.end());
        std::printf(
            "%d lines: %.0f a second, %.0f bytes each up to %d, %.0f from there on; %zu events waited %.1f ms (median), %.1f ms (p99), %.1f ms (longest); a resize %.1f ms; searched in %.0f ms; %.0f MB saved in %.0f ms\n",
            m_lines, m_lines / seconds, (m_tenthMemory - m_memory) / m_tenthLines, m_tenthLines,
            (memory - m_tenthMemory) / (m_lines - m_tenthLines), m_delays.size(),
            m_delays[m_delays.size() / 2], m_delays[m_delays.size() * 99 / 100], m_delays.back(), resizing,
            searching, static_cast<double>(m_text->WholeText().size()) / 1e6, saving);
        m_pump.reset();
        m_frame->Destroy();
        ExitMainLoop();
    }

    // The time of a search that passes every line.
    double Search() {
        m_text->SetSelection(0, 0);
        const auto begin = Clock::now();
        m_text->FindText("no line says this", wxFR_DOWN);
        return MillisecondsSince(begin);
    }

    // The time until the text is on the disk, as the window saves it.
    double Save() {
        const auto path = std::filesystem::temp_directory_path() /
                          ("window_flood." + std::to_string(wxGetProcessId()) + ".txt");
        const auto begin = Clock::now();
        AtomicFile file;
        if (!file.Open(path, FileAccess::Document) || !file.Write(m_text->WholeText()) || !file.Commit()) {
            std::fprintf(stderr, "%s cannot be written\n", path.c_str());
            std::exit(1);
        }
        const double taken = MillisecondsSince(begin);
        std::filesystem::remove(path);
        return taken;
    }

    OutputChannel m_channel{*this};
    std::optional<OutputPump> m_pump;
    wxFrame* m_frame = nullptr;
    COutputText* m_text = nullptr;
    std::vector<std::thread> m_threads;
    std::atomic<bool> m_probing{true};
    std::atomic<int> m_taken{0}; // lines that the window has
    std::vector<double> m_delays;
    int m_lines = kUsualLines;
    double m_memory = 0;
    double m_tenthMemory = 0; // once a tenth of the lines was there
    int m_tenthLines = 0;
    Clock::time_point m_begin;
};

} // namespace
} // namespace vnxtest

wxIMPLEMENT_APP(vnxtest::FloodApp);
