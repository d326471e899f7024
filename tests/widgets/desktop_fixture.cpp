#include "widgets/desktop_fixture.h"

#include <map>
#include <memory>

#include <wx/app.h>
#include <wx/clipbrd.h>
#include <wx/evtloop.h>
#include <wx/image.h>
#include <wx/init.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "widgets/caption/caption_button.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr int kPatience = 30000;  // milliseconds until what should happen has not happened, on a busy machine
constexpr int kRaiseAfter = 2000; // milliseconds until a window that did not get the keyboard asks for it
constexpr int kTick = 5;          // milliseconds

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

// With a help button in its caption, which asks for nothing.
class CaptionedProbe final : public ProbeDialog {
public:
    CaptionedProbe() : ProbeDialog(nullptr), m_button(AddCaptionButton(*this, {"Probe", [] {}, {}, {}})) {
        Fill();
    }

private:
    std::unique_ptr<CaptionButton> m_button;
};

} // namespace

void ProbeDialog::Fill() {
    auto* rows = MakeChild<wxFlexGridSizer>(2, 6, 6);
    const auto row = [this, rows]<typename Control>(const char* label, Control*& control, auto... arguments) {
        rows->Add(MakeChild<wxStaticText>(this, wxID_ANY, label));
        rows->Add(control = MakeChild<Control>(this, arguments...));
    };
    row("Unregistered:", before, kBefore);
    row("&Address:", address, kAddress, "Guest IP");
    row("MAC:", mac, kMac, "Guest MAC");
    row("&Number:", number, kNumber, kNumberSpin, "Number");
    row("Box", box, kBox, "Use two");
    row("Disabled", disabled, kDisabled, "Disabled");
    number->SetRange(8, 65507);
    numberText = dynamic_cast<wxTextCtrl*>(number->FindWindow(kNumber));
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
    m_dialog = MakeDialog();
    ShowAndWait(*m_dialog);
}

ProbeDialog* DesktopTest::MakeDialog() {
    return MakeChild<CaptionedProbe>();
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
    // A window manager that is just starting gives the keyboard to nobody.
    const auto active = [&window] { return window.IsActive(); };
    for (int asked = 0; asked < kPatience / kRaiseAfter && !ServeEvents(kRaiseAfter, active); ++asked) {
        window.Raise();
    }
    ASSERT_TRUE(window.IsActive());
    Settle(150);
}

void DesktopTest::Press(int key, int modifiers) {
    m_user.Char(key, modifiers);
    Settle();
}

void DesktopTest::Type(const char* keys) {
    static const std::map<char, int> kKeys = {{'L', WXK_LEFT},   {'R', WXK_RIGHT}, {'B', WXK_BACK},
                                              {'D', WXK_DELETE}, {'H', WXK_HOME},  {'E', WXK_END}};
    for (; *keys != '\0'; ++keys) {
        const auto key = kKeys.find(*keys);
        key != kKeys.end() ? m_user.Char(key->second) : m_user.Text(wxString(*keys).utf8_str());
        Settle(40);
    }
    Settle(60);
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

void DesktopTest::Paste(const wxString& text) {
    ASSERT_TRUE(wxTheClipboard->Open());
    wxTheClipboard->SetData(MakeChild<wxTextDataObject>(text));
    wxTheClipboard->Close();
    Press('V', wxMOD_CONTROL);
}

void DesktopTest::Later(int milliseconds, std::function<void()> action) {
    m_later.Bind(wxEVT_TIMER, [action = std::move(action)](wxTimerEvent&) { action(); });
    m_later.StartOnce(milliseconds);
}

} // namespace vnxtest

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    wxApp::SetInstance(vnxtest::MakeChild<wxApp>());
    if (!wxEntryStart(argc, argv)) {
        return 1; // the toolkit has said why
    }
    wxTheApp->SetExitOnFrameDelete(false);
    wxSetAssertHandler([](const wxString& file, int line, const wxString&, const wxString&,
                          const wxString& message) { ADD_FAILURE() << file << line << ": " << message; });
    wxInitAllImageHandlers();
    wxTheApp->CallOnInit();
    const int status = RUN_ALL_TESTS();
    wxEntryCleanup();
    return status;
}
