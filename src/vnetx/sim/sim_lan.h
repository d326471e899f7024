// The facts of the simulated LAN: its stations, their addresses, and which of them answer.
//
// It lies in the range set aside for benchmarking (RFC 2544, 198.18.0.0/15), so that it cannot be mistaken
// for a real network. The host adapter, the gateway and the echo hosts are its stations; each open
// interface is a guest.
#pragma once

#include <cstdint>

#include "packets/host_address.h"
#include "wrenlib/address.h"

namespace vnxtest {

inline constexpr Ipv4Address kSimNetwork{198, 18, 0, 0};
inline constexpr Ipv4Address kSimNetMask{255, 255, 255, 0};
inline constexpr Ipv4Address kSimBroadcast{198, 18, 0, 255};

// The host adapter that guests are bound to.
inline constexpr Ipv4Address kSimAdapterIp{198, 18, 0, 1};
// The router. Every address behind it answers a ping, except those of kSimSilentNetwork.
inline constexpr Ipv4Address kSimGatewayIp{198, 18, 0, 254};
// The echo hosts: they answer ARP and ping. The first of them pings the guests when asked to.
inline constexpr Ipv4Address kSimFirstEchoHost{198, 18, 0, 2};
inline constexpr Ipv4Address kSimLastEchoHost{198, 18, 0, 99};
// The addresses free for guests.
inline constexpr Ipv4Address kSimFirstFreeIp{198, 18, 0, 100};
inline constexpr Ipv4Address kSimLastFreeIp{198, 18, 0, 253};
// An address of the LAN without a station: it answers neither ARP nor ping.
inline constexpr Ipv4Address kSimSilentHost{198, 18, 0, 150};
// Behind the gateway, but silent (one of the documentation ranges, RFC 5737).
inline constexpr Ipv4Address kSimSilentNetwork{203, 0, 113, 0};
inline constexpr Ipv4Address kSimSilentNetworkMask{255, 255, 255, 0};

inline constexpr std::uint32_t kSimDefaultMtu = 1500;

// The last octet of an address: which station of the LAN it is.
constexpr std::uint8_t SimStationNumber(Ipv4Address address) {
    return address.Bytes()[3];
}

// The address of the station with this number.
constexpr Ipv4Address SimStationIp(std::uint8_t number) {
    return kSimNetwork | Ipv4Address(0, 0, 0, number);
}

// The MAC address of the station with this number (locally administered).
constexpr MacAddress SimStationMac(std::uint8_t number) {
    return MacAddress({0x02, 0x56, 0x4E, 0x12, 0x00, number});
}

inline constexpr MacAddress kSimAdapterMac = SimStationMac(SimStationNumber(kSimAdapterIp));
inline constexpr MacAddress kSimGatewayMac = SimStationMac(SimStationNumber(kSimGatewayIp));

constexpr bool SimOnLan(Ipv4Address address) {
    return (address & kSimNetMask) == kSimNetwork;
}

// True if a station of the LAN has this address: the adapter, an echo host or the gateway.
constexpr bool SimIsStation(Ipv4Address address) {
    const std::uint8_t number = SimStationNumber(address);
    return SimOnLan(address) &&
           ((number >= SimStationNumber(kSimAdapterIp) && number <= SimStationNumber(kSimLastEchoHost)) ||
            number == SimStationNumber(kSimGatewayIp));
}

// True if something answers a ping to this address: a station, or an address behind the gateway
// that a single host can have.
constexpr bool SimAnswersPing(Ipv4Address address) {
    if (SimOnLan(address)) {
        return SimIsStation(address);
    }
    return IsUnicast(address) && !IsReserved(address) &&
           (address & kSimSilentNetworkMask) != kSimSilentNetwork;
}

} // namespace vnxtest
