// A MAC address of a command line.
#pragma once

#include <cstring>

#include <net/ethernet.h>
#include <netinet/ether.h>

// False if `text` is none, such as "02:77:00:00:00:64".
inline bool ReadMac(const char* text, unsigned char* mac) {
    ether_addr address{};
    if (ether_aton_r(text, &address) == nullptr) {
        return false;
    }
    std::memcpy(mac, &address, ETH_ALEN);
    return true;
}
