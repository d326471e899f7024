// A million lines into the window's text: lines a second, memory a line, how long events wait meanwhile,
// and the time of a resize. Needs a display.
//
// Two threads write, as in a ping test, in small batches and one large one. A third queues an event every
// millisecond; its delay is that of a key or a click.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <thread>

#include <wx/app.h>
#include <wx/frame.h>

#include "core/output_channel.h"
#include "ui/text/output_pump.h"
#include "ui/text/output_text.h"
#include "widgets/make_child.h"

namespace vnxtest {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kWriters = 2;
constexpr int kLinesEach = 500'000;
constexpr int kLines = kWriters * kLinesEach;

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
        for (int line = 0; line < kLinesEach;) {
            std::string lines;
            for (const int end = line + (line == 0 ? 100'000 : 500); line < end; ++line) {
                lines += "04:05:06.789  Reply to ping #" + std::to_string(line) +
                         " received from 198.18.0.2: bytes=32 time=<1ms TTL=64\n";
            }
            m_channel.Append(lines);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    void NoteDelay(Clock::time_point sent) {
        m_delays.push_back(MillisecondsSince(sent));
        if (m_probing && m_text->GetLineCount() > kLines) {
            m_probing = false;
            Finish();
        }
    }

    void Finish() {
        const double seconds = MillisecondsSince(m_begin) / 1000;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        const double bytes = (ResidentBytes() - m_memory) / kLines;
        constexpr std::array kWidths = {700, 1000, 600, 900};
        const auto resize = Clock::now();
        for (const int width : kWidths) {
            m_frame->SetSize(width, 500);
            m_frame->Update();
            wxSafeYield();
        }
        const double resizing = MillisecondsSince(resize) / kWidths.size();
        std::sort(m_delays.begin(), m_delays.end());
        std::printf(
            "%d lines: %.0f a second, %.0f bytes each; %zu events waited %.1f ms (median), %.1f ms (p99), %.1f ms (longest); a resize %.1f ms\n",
            kLines, kLines / seconds, bytes, m_delays.size(), m_delays[m_delays.size() / 2],
            m_delays[m_delays.size() * 99 / 100], m_delays.back(), resizing);
        m_pump.reset();
        m_frame->Destroy();
        ExitMainLoop();
    }

    OutputChannel m_channel{*this};
    std::optional<OutputPump> m_pump;
    wxFrame* m_frame = nullptr;
    COutputText* m_text = nullptr;
    std::vector<std::thread> m_threads;
    std::atomic<bool> m_probing{true};
    std::vector<double> m_delays;
    double m_memory = 0;
    Clock::time_point m_begin;
};

} // namespace
} // namespace vnxtest

wxIMPLEMENT_APP(vnxtest::FloodApp);
