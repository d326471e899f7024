#include "ui_application.h"

#include <cstdlib>
#include <memory>

#include <wx/evtloop.h>
#include <wx/init.h>
#include <wx/timer.h>

namespace vnxtest {

bool HasDisplay() {
    static const bool has = [] {
        if (std::getenv("DISPLAY") == nullptr) {
            return false;
        }
        int count = 0;
        wxApp::SetInstance(std::make_unique<wxApp>().release());
        if (!wxEntryStart(count, static_cast<wxChar**>(nullptr))) {
            return false;
        }
        wxTheApp->SetExitOnFrameDelete(false);
        return wxTheApp->CallOnInit();
    }();
    return has;
}

bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    wxGUIEventLoop loop;
    bool reached = false;
    wxTimer timer;
    timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        reached = done();
        if (reached || std::chrono::steady_clock::now() >= end) {
            loop.Exit();
        }
    });
    timer.Start(2);
    loop.Run();
    return reached;
}

void WindowTest::SetUp() {
    if (!HasDisplay()) {
        GTEST_SKIP() << "no display: run under Xvfb";
    }
    m_frame =
        std::make_unique<wxFrame>(nullptr, wxID_ANY, "test", wxDefaultPosition, wxSize(900, 600)).release();
    m_frame->Show();
}

void WindowTest::TearDown() {
    if (m_frame != nullptr) {
        m_frame->Destroy();
        RunUntil([] { return true; });
    }
}

} // namespace vnxtest
