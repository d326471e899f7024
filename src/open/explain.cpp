#include "open/ask_helper.h"

namespace vnxtest {

std::string Explain(Refusal refusal) {
    const std::string other = "Choose another IP address for the guest";
    const std::string byRoot = "; vnxtest-cli run as root starts it with --proceed.";
    switch (refusal) {
    case Refusal::None:
        return "";
    case Refusal::BadRequest:
        return "The request is not one that it knows: the helper and the program are of different versions. Install vnxtest-open and the programs from one package.";
    case Refusal::MacUnusable:
        return "The guest's MAC address cannot be a station's: it is all zeroes, or a group's. Choose another MAC address for the guest.";
    case Refusal::MacOfHost:
        return "The guest's MAC address is that of an adapter of this host. Choose another MAC address for the guest" +
               byRoot;
    case Refusal::IpUnusable:
        return "The guest's IP address cannot be a station's: it stands for a network, for all, or is reserved. " +
               other + ".";
    case Refusal::IpOfHost:
        return "The guest's IP address is one of this host's own. " + other + byRoot;
    case Refusal::IpOfGateway:
        return "The guest's IP address is that of a gateway of this host. " + other + byRoot;
    case Refusal::IpOutsideSubnet:
        return "The guest's IP address is outside the subnet of the host adapter. " + other + byRoot;
    case Refusal::NotTheAdaptersAddress:
        return "The host's end is not an IP address of the host adapter. Has the adapter's address changed? Start the guest again.";
    }
    return "It gave a reason that this program does not know. Install vnxtest-open and the programs from one package.";
}

} // namespace vnxtest
