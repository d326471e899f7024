// The addresses in the records of the contract (vnetx.h), as values.
//
// A setter sets the family, too; in an interface request it also zeroes the rest of the value area.
#pragma once

#include "packets/wire.h"
#include "vnetx/vnetx.h"

namespace vnxtest {

inline Ipv4Address Ipv4In(const VnetxInterfaceRequest& record) {
    return LoadIpv4<0>(std::span(record.u.inet.address));
}
inline void PutIpv4(VnetxInterfaceRequest& record, Ipv4Address address) {
    record.u.inet = {};
    record.u.inet.family = VNETX_AF_INET;
    StoreIpv4<0>(std::span(record.u.inet.address), address);
}

inline MacAddress MacIn(const VnetxInterfaceRequest& record) {
    return LoadMac<0>(std::span(record.u.hardware.mac));
}
inline void PutMac(VnetxInterfaceRequest& record, MacAddress mac) {
    record.u.hardware = {};
    record.u.hardware.family = VNETX_ARPHRD_ETHER;
    StoreMac<0>(std::span(record.u.hardware.mac), mac);
}

inline Ipv4Address Ipv4In(const VnetxArpRequest& record) {
    return LoadIpv4<0>(std::span(record.protocolAddress));
}
inline void PutIpv4(VnetxArpRequest& record, Ipv4Address address) {
    record.protocolFamily = VNETX_AF_INET;
    StoreIpv4<0>(std::span(record.protocolAddress), address);
}

inline MacAddress MacIn(const VnetxArpRequest& record) {
    return LoadMac<0>(std::span(record.hardwareAddress));
}
inline void PutMac(VnetxArpRequest& record, MacAddress mac) {
    record.hardwareFamily = VNETX_ARPHRD_ETHER;
    StoreMac<0>(std::span(record.hardwareAddress), mac);
}

} // namespace vnxtest
