// What the engine asks of its front end. All calls are made on the user-interface thread and may
// take as long as the user does. The window answers with dialogs, the terminal program from its
// options and the profile.
#pragma once

#include <string>
#include <string_view>

#include "core/ping_plan.h"
#include "core/view_port.h"

namespace vnxtest {

// The texts of one interface in the parameters dialog.
struct InterfaceParameters {
    bool tapMode = false;
    std::wstring guestIpText;
    std::wstring guestMacText;
    std::wstring adapterIpText;
    std::wstring adapterMacText;
};

struct GuestParameters {
    InterfaceParameters interface1;
    InterfaceParameters interface2;
    bool useTwoInterfaces = false;
    // Write the confirmed values to the profile. The window always does; the terminal program only
    // when it was told to.
    bool store = true;
};

// The pre-start question. `content` is always "Do you wish to proceed anyway?".
struct ProceedQuestion {
    std::wstring_view title;
    std::wstring_view mainInstruction;
    std::wstring_view content;
    std::wstring_view expandedInformation;
};

struct PingWhoParameters {
    bool twoInterfaces = false; // in: interface 2 is defined, so the choice is offered
    int fromInterface = 0;      // 0 = Interface1, 1 = Interface2
    PingPlan plan;              // in: its target is the last one's; out: what the name resolved to
    bool store = true;          // as in GuestParameters
};

inline constexpr int kProceedButton = 6;
inline constexpr int kCancelButton = 2;

class FrontEnd : public ViewPort {
public:
    // The parameters dialog: `parameters` holds the current values and takes the confirmed ones,
    // validated (guest/parameters.h). False when cancelled.
    virtual bool AskParameters(GuestParameters& parameters) = 0;

    // The proceed dialog: kProceedButton, or kCancelButton.
    virtual int ShowProceedTaskDialog(const ProceedQuestion& question) = 0;

    // The ping-who dialog: takes the confirmed values, the target resolved. False when cancelled.
    virtual bool AskPingWho(PingWhoParameters& parameters) = 0;
};

} // namespace vnxtest
