#include "helpui/desktop_fixture.h"

#include <memory>

#include <gmock/gmock.h>
#include <wx/app.h>
#include <wx/clipbrd.h>
#include <wx/evtloop.h>
#include <wx/init.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "helpui/balloon.h"
#include "helpui/dialog_ids.h"
#include "helpui/make_child.h"

namespace vnxtest {

namespace {

constexpr int kPatience = 5000; // milliseconds until what should happen has not happened

constexpr int kTick = 5; // milliseconds

// Counts turns of the event loop, not time: on a busy machine each takes longer, and nothing is missed.
bool ServeEvents(int milliseconds, const std::function<bool()>& reached) {
    wxGUIEventLoop loop;
    bool done = false;
    int ticks = milliseconds / kTick;
    wxTimer timer;
    timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        done = reached && reached();
        if (done || --ticks <= 0) {
            loop.ScheduleExit();
        }
    });
    timer.Start(kTick);
    loop.Run();
    return done;
}

// A timer that lives until it has fired.
class OneShot final : public wxTimer {
public:
    explicit OneShot(std::function<void()> action) : m_action(std::move(action)) {}
    void Notify() override {
        m_action();
        wxTheApp->CallAfter([this] { const std::unique_ptr<OneShot> self(this); });
    }

private:
    std::function<void()> m_action;
};

} // namespace

ProbeDialog::ProbeDialog(wxWindow* parent) : CHelpButtonDlg(parent, wxID_ANY, "Probe") {
    SetUpHelp(kDialogParameters);
    auto* rows = MakeChild<wxFlexGridSizer>(2, 6, 6);
    const auto row = [this, rows](const char* label, const auto& make) {
        rows->Add(MakeChild<wxStaticText>(this, wxID_ANY, label));
        auto* control = make();
        rows->Add(control);
        return control;
    };
    before = row("Unregistered:", [this] { return MakeChild<wxTextCtrl>(this, kUnregistered); });
    address = row("Address:", [this] {
        return MakeChild<IpAddressCtrl>(this, parameters_control::kGuestIp1, "Guest IP address");
    });
    mac = row("MAC:", [this] {
        return MakeChild<MacEntryCtrl>(this, parameters_control::kGuestMac1, "Guest MAC address");
    });
    number = row("Number", [this] {
        return MakeChild<NumberEntry>(this, parameters_control::kGuestIp2, parameters_control::kAdapterIp2,
                                      "Number");
    });
    number->SetRange(8, 65507);
    number->SetPosition(32);
    box = row("Box", [this] { return MakeChild<wxCheckBox>(this, parameters_control::kUseTwo, "Use two"); });
    list = row("List", [this] { return MakeChild<wxListBox>(this, parameters_control::kAdapterMac1); });
    list->Append("one");
    list->Append("two");
    disabled =
        row("Disabled", [this] { return MakeChild<wxButton>(this, parameters_control::kTun1, "Disabled"); });
    disabled->Disable();
    auto* sizer = MakeChild<wxBoxSizer>(wxVERTICAL);
    sizer->Add(rows, wxSizerFlags().Border(wxALL, 20));
    sizer->Add(CreateButtonSizer(wxOK | wxCANCEL | wxHELP), wxSizerFlags().Expand().Border(wxALL, 10));
    SetSizerAndFit(sizer);
    ok = dynamic_cast<wxButton*>(FindWindow(wxID_OK));
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { ++okClicks; }, wxID_OK);
}

void DesktopTest::SetUp() {
    m_dialog = MakeChild<ProbeDialog>(nullptr);
    ShowAndWait(*m_dialog);
}

void DesktopTest::TearDown() {
    DismissBalloon();
    m_dialog->Destroy();
    Settle(50);
}

void DesktopTest::Settle(int milliseconds) {
    ServeEvents(milliseconds, {});
}

bool DesktopTest::WaitFor(const std::function<bool()>& reached) {
    return ServeEvents(kPatience, reached);
}

void DesktopTest::ShowAndWait(wxTopLevelWindow& window) {
    window.Show();
    ASSERT_TRUE(WaitFor([&window] { return window.IsActive(); }));
    Settle(150);
}

void DesktopTest::Type(const char* text) {
    m_user.Text(text);
    Settle();
}

void DesktopTest::Press(int key, int modifiers) {
    m_user.Char(key, modifiers);
    Settle();
}

void DesktopTest::ClickAt(const wxPoint& screen) {
    m_user.MouseMove(screen);
    Settle(40);
    m_user.MouseClick();
    Settle();
}

void DesktopTest::Click(const wxWindow& window) {
    const wxRect place = window.GetScreenRect();
    ClickAt(place.GetPosition() + place.GetSize() / 2);
}

void DesktopTest::SetClipboard(const wxString& text) {
    ASSERT_TRUE(wxTheClipboard->Open());
    wxTheClipboard->SetData(MakeChild<wxTextDataObject>(text));
    wxTheClipboard->Close();
}

wxString DesktopTest::Clipboard() {
    wxTextDataObject data;
    if (wxTheClipboard->Open()) {
        wxTheClipboard->GetData(data);
        wxTheClipboard->Close();
    }
    return data.GetText();
}

void DesktopTest::Later(int milliseconds, std::function<void()> action) {
    MakeChild<OneShot>(std::move(action))->StartOnce(milliseconds);
}

} // namespace vnxtest

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    wxApp::SetInstance(vnxtest::MakeChild<wxApp>());
    if (!wxEntryStart(argc, argv)) {
        return 1; // the toolkit has said why
    }
    wxTheApp->SetExitOnFrameDelete(false);
    wxTheApp->CallOnInit();
    const int status = RUN_ALL_TESTS();
    wxEntryCleanup();
    return status;
}
