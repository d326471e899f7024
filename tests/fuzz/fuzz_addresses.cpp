// Address and MAC texts: what is accepted comes out as it went in.
#include <string>

#include "fuzz_input.h"
#include "wrenlib/address.h"
#include "wrenlib/text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vnxtest;
    const std::string bytes(data, data + size);
    const std::wstring text = FromUtf8(bytes);
    Claim(FromUtf8(ToUtf8(text)) == text, "UTF-8 keeps a text");
    TrimBlanks(text);
    if (const auto ip = ParseIPAddress(text)) {
        Claim(ParseIPAddress(FormatIPAddr(*ip)) == ip, "an address comes back");
        Claim(text.size() >= 7 && text.size() <= 15, "four numbers and three dots");
    }
    if (const auto mac = ParseMACAddress(text)) {
        Claim(ParseMACAddress(FormatMACAddr(*mac)) == mac, "a MAC address comes back");
        Claim(text.size() == 17, "six pairs");
    }
    return 0;
}
