#include "vnetx/neighbour_questions.h"

#include "vnetx/records.h"

namespace vnxtest {
namespace {

// The family of the hardware address stays zero in a question, whatever is asked for (vnetx.h).
VnetxArpRequest NewQuestion() {
    VnetxArpRequest question{};
    question.protocolFamily = VNETX_AF_INET;
    question.flags = VNETX_ATF_PERMANENT;
    return question;
}

} // namespace

std::optional<MacAddress> AskForMac(VnetxLibrary& library, std::int32_t handle, Ipv4Address address) {
    VnetxArpRequest question = NewQuestion();
    PutIpv4(question, address);
    const bool told = library.Ioctl(handle, VNETX_SIOCGARP, &question) == 0;
    return told ? std::optional(MacIn(question)) : std::nullopt;
}

std::optional<Ipv4Address> AskForIpv4(VnetxLibrary& library, std::int32_t handle, MacAddress mac) {
    VnetxArpRequest question = NewQuestion();
    StoreMac<0>(std::span(question.hardwareAddress), mac);
    const bool told = library.Ioctl(handle, VNETX_SIOCGRARP, &question) == 0;
    return told ? std::optional(Ipv4In(question)) : std::nullopt;
}

} // namespace vnxtest
