#include "ui/frame/panes.h"

#include <algorithm>
#include <memory>

#include "widgets/make_child.h"

namespace vnxtest {

namespace {
constexpr const wchar_t* kShowChart = L"ShowPingChart";
constexpr const wchar_t* kReportLimit = L"ReportLimit"; // mebibytes
constexpr std::size_t kMebi = std::size_t{1024} * 1024;

std::size_t ReportLimit(Profile& profile) {
    constexpr std::uint32_t kMost = COutputText::kMostBytes / kMebi;
    return std::clamp(profile.ReadNumber(kReportLimit, kMost), 1U, kMost) * kMebi;
}
} // namespace

CPanes::CPanes(wxWindow* parent, const PingHistory& history, Profile& profile)
    : wxSplitterWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                       wxSP_3DSASH | wxSP_LIVE_UPDATE | wxSP_NOBORDER),
      m_profile(profile), m_text(MakeChild<COutputText>(this, ReportLimit(profile))),
      m_chart(MakeChild<CPingChart>(this, history)) {
    // The chart keeps its height when the window is resized; the text gets the rest.
    SetSashGravity(1.0);
    SetMinimumPaneSize(m_chart->GetBestSize().y);
    Bind(wxEVT_SPLITTER_SASH_POS_CHANGING, [this](wxSplitterEvent& event) {
        m_dragged = true;
        event.Skip();
    });
    m_chart->Hide();
    Initialize(m_text);
    if (m_profile.ReadNumber(kShowChart, 1) != 0) {
        Split();
    }
}

void CPanes::Split() {
    SplitHorizontally(m_text, m_chart, -ChartHeight());
}

// The text keeps the larger part of a small window.
int CPanes::ChartHeight() const {
    const int most = std::max(GetClientSize().y * 9 / 20, GetMinimumPaneSize());
    return std::min(m_chart->GetBestSize().y, most);
}

void CPanes::ShowTest() {
    m_chart->ShowTest();
    if (IsSplit() && !m_dragged) {
        SetSashPosition(-ChartHeight());
    }
}

void CPanes::ShowChart(bool show) {
    if (show == IsSplit()) {
        return;
    }
    if (show) {
        Split();
    } else {
        Unsplit(m_chart);
        m_text->SetFocus();
    }
    m_profile.WriteNumber(kShowChart, show ? 1 : 0);
}

void CPanes::FocusNextPane() {
    if (IsSplit() && m_text->HasFocus()) {
        m_chart->SetFocus();
    } else {
        m_text->SetFocus();
    }
}

} // namespace vnxtest
