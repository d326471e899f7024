// Address and MAC texts: what is accepted comes out as it went in, and by every reader alike.
#include <string>

#include "fuzz_input.h"
#include "platform/inet_text.h"
#include "wrenlib/address.h"
#include "wrenlib/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vnxtest;
    const std::string bytes(data, data + size);
    const std::wstring text = FromUtf8(bytes);
    Claim(FromUtf8(ToUtf8(text)) == text, "UTF-8 keeps a text");
    TrimBlanks(text);
    Ipv4Address inet;
    const bool taken = StringToIPAddr(text.c_str(), inet);
    if (const auto ip = ParseIPAddress(text)) {
        Claim(ParseIPAddress(FormatIPAddr(*ip)) == ip, "an address comes back");
        Claim(text.size() >= 7 && text.size() <= 15, "four numbers and three dots");
        const bool leadingZero = FormatIPAddr(*ip) != text;
        Claim(leadingZero || (taken && inet == *ip), "the system reads it alike");
    }
    if (const auto mac = ParseMACAddress(text)) {
        Claim(ParseMACAddress(FormatMACAddr(*mac)) == mac, "a MAC address comes back");
        Claim(text.size() == 17, "six pairs");
    }
    return 0;
}
