#include "open/ask_helper.h"

namespace vnxtest {

const char* Explain(Refusal refusal) {
    switch (refusal) {
    case Refusal::None:
        return "";
    case Refusal::BadRequest:
        return "The request is not one that it knows: the helper and the program are of different versions.";
    case Refusal::MacUnusable:
        return "The guest's MAC address cannot be a station's: it is all zeroes, or a group's.";
    case Refusal::MacOfHost:
        return "The guest's MAC address is that of an adapter of this host.";
    case Refusal::IpUnusable:
        return "The guest's IP address cannot be a station's: it stands for a network, for all, or is "
               "reserved.";
    case Refusal::IpOfHost:
        return "The guest's IP address is one of this host's own.";
    case Refusal::IpOfGateway:
        return "The guest's IP address is that of a gateway of this host.";
    case Refusal::IpOutsideSubnet:
        return "The guest's IP address is outside the subnet of the host adapter.";
    case Refusal::NotTheAdaptersAddress:
        return "The host's end is not an IP address of the host adapter.";
    }
    return "It gave a reason that this program does not know.";
}

const char* NextStep(Refusal refusal) {
    switch (refusal) {
    case Refusal::MacUnusable:
        return "Choose another MAC address for the guest.";
    case Refusal::MacOfHost:
        return "Choose another MAC address for the guest; vnxtest-cli run as root starts it with "
               "--proceed.";
    case Refusal::IpUnusable:
        return "Choose another IP address for the guest.";
    case Refusal::IpOfHost:
    case Refusal::IpOfGateway:
    case Refusal::IpOutsideSubnet:
        return "Choose another IP address for the guest; vnxtest-cli run as root starts it with "
               "--proceed.";
    case Refusal::NotTheAdaptersAddress:
        return "Has the adapter's address changed? Start the guest again.";
    default:
        return "Install vnxtest-open and the programs from one package.";
    }
}

} // namespace vnxtest
