#include "guest/pre_start_questions.h"

#include "platform/system/system_name.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

constexpr wchar_t kNoGateway[] =
    L"The default gateway for your network has not been defined to VNXTest64UD yet and IP Forwarding cannot be used since it is not enabled on your %s system.\n\nWithout IP Forwarding packets will not be routed properly and some tests may fail. You should either define a default gateway to VNXTest64UD or enable IP Forwarding.";
constexpr wchar_t kNoGatewayOtherSubnet[] =
    L"The default gateway for your network has not been defined to VNXTest64UD yet and IP Forwarding cannot be used since it is not enabled on your %s system.\n\nThe test cannot possibly work unless you are only interested in exchanging packets between virtual subnets which are known to be using the same physical adapter.";
constexpr wchar_t kForwardingOtherSubnet[] =
    L"The IP addresses you defined for your virtual interface(s) are not within the same physical subnet as the physical adapter that the virtual interface is using.\n\nEven though IP Routing is enabled, unless each workstation on each subnet wishing to communicate with the other subnet contains a manual routing entry to route packets through this physical adapter, the test is unlikely to succeed.";
constexpr wchar_t kGatewayOtherSubnet[] =
    L"The IP addresses you defined for your virtual interface(s) are not within the same physical subnet as the physical adapter that the virtual interface is using.\n\nUnless the default gateway defined for the physical adapter that your virtual interface(s) is/are using is a true router that knows how to route packets between the two subnets, your tests are likely to fail.";

ProceedQuestion UndefinedGateway(std::wstring_view text) {
    return {L"Undefined Gateway", L"Your default gateway is undefined!", kProceedContent, text, true};
}

ProceedQuestion OtherSubnet(std::wstring_view text) {
    return {L"Subnets Warning", L"Your guest IP is in a different subnet!", kProceedContent, text};
}

} // namespace

const ProceedQuestion& UndefinedGatewayQuestion() {
    static const std::wstring text = Sprintf(kNoGateway, std::wstring(SystemName()));
    static const ProceedQuestion question = UndefinedGateway(text);
    return question;
}

const ProceedQuestion& UndefinedGatewayOtherSubnetQuestion() {
    static const std::wstring text = Sprintf(kNoGatewayOtherSubnet, std::wstring(SystemName()));
    static const ProceedQuestion question = UndefinedGateway(text);
    return question;
}

const ProceedQuestion& OtherSubnetQuestion(bool gatewayKnown) {
    static const ProceedQuestion forwarding = OtherSubnet(kForwardingOtherSubnet);
    static const ProceedQuestion gateway = OtherSubnet(kGatewayOtherSubnet);
    return gatewayKnown ? gateway : forwarding;
}

} // namespace vnxtest
