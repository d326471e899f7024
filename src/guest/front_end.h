// The engine's questions to its front end. All are asked on the user-interface thread and may wait for the
// user. The window answers with dialogs, the terminal program from its options and the profile.
#pragma once

#include <string>
#include <string_view>

#include "core/interface_parameters.h"
#include "core/ping_plan.h"
#include "core/view_port.h"

namespace vnxtest {

// The parameters dialog.
struct GuestParameters {
    InterfaceParameters interface1;
    InterfaceParameters interface2;
    bool useTwoInterfaces = false;
    // Write the confirmed values to the profile: the window always, the terminal program with --save.
    bool store = true;
};

inline constexpr std::wstring_view kProceedContent = L"Do you wish to proceed anyway?";

// The pre-start question.
struct ProceedQuestion {
    std::wstring_view title;
    std::wstring_view mainInstruction;
    std::wstring_view content; // kProceedContent
    std::wstring_view expandedInformation;
    bool aboutGateway = false; // it would not be asked if a default gateway were known
};

struct PingWhoParameters {
    bool twoInterfaces = false; // in: interface 2 is defined, so the choice is offered
    int fromInterface = 0;      // 0 = Interface1, 1 = Interface2
    PingPlan plan;              // in: with the last target; out: with the resolved address
    bool store = true;          // as in GuestParameters
};

inline constexpr int kProceedButton = 6;
inline constexpr int kCancelButton = 2;

class FrontEnd : public ViewPort {
public:
    // The parameters dialog: `parameters` holds the current values and takes the confirmed ones, checked
    // (guest/parameters_check.h). False if cancelled.
    virtual bool AskParameters(GuestParameters& parameters) = 0;

    // The proceed dialog: kProceedButton, or kCancelButton.
    virtual int ShowProceedTaskDialog(const ProceedQuestion& question) = 0;

    // The ping-who dialog: takes the confirmed values, the target resolved. False if cancelled.
    virtual bool AskPingWho(PingWhoParameters& parameters) = 0;
};

} // namespace vnxtest
