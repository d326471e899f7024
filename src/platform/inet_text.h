// Dotted text to an IPv4 address by the system's own inet_addr.
#pragma once

#include "wrenlib/address.h"

namespace vnxtest {

// False for a null or empty text (`address` stays), and for one that inet_addr refuses; then `address`
// is 255.255.255.255. inet_addr also takes short forms ("10.1") and octal and hexadecimal numbers. Any
// thread.
bool StringToIPAddr(const wchar_t* text, Ipv4Address& address);

} // namespace vnxtest
