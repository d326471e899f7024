#include "ui/dialogs/ping_who_dlg.h"

#include <system_error>

#include <wx/button.h>
#include <wx/cursor.h>
#include <wx/radiobut.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "ui/dialogs/dialog_layout.h"
#include "widgets/accessible_name.h"
#include "widgets/balloon.h"
#include "widgets/entries/number_entry.h"
#include "widgets/make_child.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The numbers of the controls.
namespace ids {
constexpr int kCount = 1007;
constexpr int kCountSpin = 1008;
constexpr int kInterface1 = 1009;
constexpr int kInterface2 = 1010;
constexpr int kDelay = 1011;
constexpr int kDelaySpin = 1012;
constexpr int kTimeout = 1013;
constexpr int kTimeoutSpin = 1014;
constexpr int kSize = 1015;
constexpr int kSizeSpin = 1016;
constexpr int kTo = 1020;
} // namespace ids

constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself},
     6100,
     L"Ping Test",
     L"Use this dialog to define the Ping Test parameters. Performing a ping test verifies proper Netorra communication."},
    {{ids::kInterface1},
     6101,
     L"Interface 1",
     L"Select this option to perform the ping test using the first or only defined virtual interface.",
     {350, "ping_who.html#interface1"}},
    {{ids::kInterface2},
     6102,
     L"Interface 2",
     L"Select this option to have the ping test use the second virtual interface instead.",
     {351, "ping_who.html#interface2"}},
    {{ids::kTo},
     6103,
     L"To",
     L"Enter here the name or IP address of the target system the ping test is to communicate with.",
     {353, "ping_who.html#to"}},
    {{ids::kSize, ids::kSizeSpin},
     6104,
     L"Size",
     L"Enter here the optional size of each ping packet. The default is 32 bytes.",
     {355, "ping_who.html#size"}},
    {{ids::kCount, ids::kCountSpin},
     6105,
     L"Count",
     L"Enter here how many pings the test should send.",
     {360, "ping_who.html#count"}},
    {{ids::kTimeout, ids::kTimeoutSpin},
     6106,
     L"Timeout",
     L"Enter here the maximum amount of time in milliseconds each ping should take before getting a response. The default is 1000 milliseconds (i.e. one second).",
     {365, "ping_who.html#timeout"}},
    {{ids::kDelay, ids::kDelaySpin},
     6107,
     L"Delay",
     L"Enter here the amount of delay in milliseconds between each successive ping. This defines how quickly each ping is sent out.",
     {371, "ping_who.html#delay"}},
};

constexpr HelpTable kHelp{131, {347, "ping_who.html"}, kControlHelp};

// Stores a number that is in range. False, after the range message, if it is not.
bool Exchange(NumberEntry& entry, std::uint32_t& value) {
    int number = 0;
    if (!entry.Exchange(number)) {
        return false;
    }
    value = static_cast<std::uint32_t>(number);
    return true;
}

} // namespace

CPingWhoDlg::CPingWhoDlg(wxWindow* parent, PingWhoParameters& parameters)
    : CHelpButtonDlg(parent, wxID_ANY, "Ping who?"), m_parameters(parameters), m_confirmed(parameters) {
    SetUpHelp(kHelp);
    wxFlexGridSizer* const rows = MakeRows(*this);

    AddLabel(rows, this, "From:");
    auto* const from = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    m_interface1 = MakeChild<wxRadioButton>(this, ids::kInterface1, "Interface&1", wxDefaultPosition,
                                            wxDefaultSize, wxRB_GROUP);
    m_interface2 = MakeChild<wxRadioButton>(this, ids::kInterface2, "Interface&2");
    from->Add(m_interface1, wxSizerFlags().Border(wxRIGHT, 3 * Gap(*this)));
    from->Add(m_interface2);
    rows->Add(from);
    AddLabel(rows, this, "");

    AddLabel(rows, this, "&To:");
    m_to = MakeChild<wxTextCtrl>(this, ids::kTo);
    SetAccessibleName(*m_to, "To");
    constexpr int kNameWidth = 32;
    m_to->SetInitialSize(wxSize(m_to->GetSizeFromTextSize(kNameWidth * m_to->GetCharWidth()).x, -1));
    rows->Add(m_to, wxSizerFlags().Expand());
    m_waiting = MakeChild<wxStaticText>(this, wxID_ANY, "(looking up...)");
    rows->Add(m_waiting, wxSizerFlags().CentreVertical().ReserveSpaceEvenIfHidden());
    m_waiting->Hide();
    const auto number = [this](int edit, int spin, const char* name) {
        return [this, edit, spin, name] { return MakeChild<NumberEntry>(this, edit, spin, name); };
    };
    m_size = AddRow(rows, this, "&Size:", number(ids::kSize, ids::kSizeSpin, "Size"));
    m_count = AddRow(rows, this, "Co&unt:", number(ids::kCount, ids::kCountSpin, "Count"));
    m_timeout =
        AddRow(rows, this, "Ti&meout:", number(ids::kTimeout, ids::kTimeoutSpin, "Timeout in milliseconds"),
               "(milliseconds)");
    m_delay = AddRow(rows, this, "&Delay:", number(ids::kDelay, ids::kDelaySpin, "Delay in milliseconds"),
                     "(milliseconds)");
    FinishDialog(*this, rows);
    m_to->SetFocus();
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent&) { OnConfirm(); }, wxID_OK);
    Bind(wxEVT_BUTTON, &CPingWhoDlg::OnCancel, this, wxID_CANCEL);
}

CPingWhoDlg::~CPingWhoDlg() = default;

bool CPingWhoDlg::TransferDataToWindow() {
    const auto asInt = [](std::uint32_t value) { return static_cast<int>(value); };
    const auto setRange = [&asInt](NumberEntry& entry, const NumberRange& range) {
        entry.SetRange(asInt(range.lowest), asInt(range.highest));
    };
    const PingPlan& plan = m_parameters.plan;
    m_to->ChangeValue(plan.targetName);
    m_to->SelectAll();
    m_size->SetValue(asInt(plan.dataSize));
    m_count->SetValue(asInt(plan.numPings));
    m_timeout->SetValue(asInt(plan.timeout));
    m_delay->SetValue(asInt(plan.delay));

    setRange(*m_size, kPingSizeRange);
    setRange(*m_count, kPingCountRange);
    setRange(*m_timeout, kPingTimeoutRange);
    setRange(*m_delay, kPingDelayRange);
    // The size's position follows its text; the three others are set.
    m_count->SetPosition(asInt(plan.dataSize));
    m_count->SetPosition(asInt(plan.numPings));
    m_timeout->SetPosition(asInt(plan.timeout));
    m_delay->SetPosition(asInt(plan.delay));

    const bool second = m_parameters.twoInterfaces && m_parameters.fromInterface == 1;
    (second ? m_interface2 : m_interface1)->SetValue(true);
    m_interface1->Enable(m_parameters.twoInterfaces);
    m_interface2->Enable(m_parameters.twoInterfaces);
    return true;
}

bool CPingWhoDlg::TakeNumbers() {
    m_confirmed.fromInterface = m_interface2->GetValue() ? 1 : 0;
    m_confirmed.plan.targetName = TrimBlanks(m_to->GetValue().ToStdWstring());
    PingPlan& plan = m_confirmed.plan;
    return Exchange(*m_size, plan.dataSize) && Exchange(*m_count, plan.numPings) &&
           Exchange(*m_timeout, plan.timeout) && Exchange(*m_delay, plan.delay);
}

void CPingWhoDlg::OnConfirm() {
    if (m_lookup || !TakeNumbers()) {
        return;
    }
    try {
        // Called on another thread; CallAfter() moves it to this window's event loop, and drops it with the
        // window.
        m_lookup.emplace(m_confirmed.plan.targetName, [this] { CallAfter([this] { OnLookupEnd(); }); });
    } catch (const std::system_error& failure) {
        const int code = failure.code().value();
        ErrorBalloon(m_to, "Ping Who",
                     Sprintf(L"The name cannot be looked up: making a thread failed; errno=%d: %s", code,
                             StrError(code)));
        return;
    }
    ShowWaiting(true);
}

void CPingWhoDlg::OnLookupEnd() {
    if (!m_lookup || !m_lookup->IsOver()) {
        return; // the end of a look-up that was given up
    }
    const auto target = m_lookup->Answer();
    m_lookup.reset();
    ShowWaiting(false);
    if (target) {
        m_confirmed.plan.target = *target;
        AcceptAndClose();
    } else {
        ErrorBalloon(m_to, "Ping Who", target.error().Describe());
    }
}

// Cancel, Escape and the caption's close button end the wait first, and the dialog the next time.
void CPingWhoDlg::OnCancel(wxCommandEvent& event) {
    if (m_lookup) {
        m_lookup.reset();
        ShowWaiting(false);
    } else {
        event.Skip();
    }
}

// During the look-up the controls are disabled; the focus stays on one that gets Escape.
void CPingWhoDlg::ShowWaiting(bool waiting) {
    m_to->SetFocus();
    m_to->SetEditable(!waiting);
    for (wxWindow* const number : {m_size, m_count, m_timeout, m_delay}) {
        number->Enable(!waiting);
    }
    m_interface1->Enable(!waiting && m_parameters.twoInterfaces);
    m_interface2->Enable(!waiting && m_parameters.twoInterfaces);
    FindWindow(wxID_OK)->Enable(!waiting);
    m_waiting->Show(waiting);
    SetCursor(waiting ? wxCursor(wxCURSOR_ARROWWAIT) : wxNullCursor);
}

bool CPingWhoDlg::TransferDataFromWindow() {
    m_parameters = m_confirmed;
    return true;
}

} // namespace vnxtest
