#include "wrenlib/address.h"

#include "wrenlib/hex.h"

namespace vnxtest {

std::optional<Ipv4Address> ParseIPAddress(std::wstring_view text) {
    std::array<std::uint8_t, 4> bytes{};
    std::size_t at = 0;
    for (std::size_t part = 0; part < bytes.size(); ++part) {
        if (part > 0) {
            if (at >= text.size() || text[at] != L'.') {
                return std::nullopt;
            }
            ++at;
        }
        unsigned value = 0;
        std::size_t digits = 0;
        while (at < text.size() && text[at] >= L'0' && text[at] <= L'9' && digits < 4) {
            value = value * 10 + static_cast<unsigned>(text[at] - L'0');
            ++at;
            ++digits;
        }
        if (digits == 0 || digits > 3 || value > 255) {
            return std::nullopt;
        }
        bytes[part] = static_cast<std::uint8_t>(value);
    }
    return at == text.size() ? std::optional(Ipv4Address(bytes)) : std::nullopt;
}

std::optional<MacAddress> ParseMACAddress(std::wstring_view text) {
    constexpr std::size_t kLength = 17;
    if (text.size() != kLength) {
        return std::nullopt;
    }
    const wchar_t separator = text[2];
    if (separator != L'-' && separator != L':') {
        return std::nullopt;
    }
    std::array<std::uint8_t, 6> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const int high = HexDigitValue(text[3 * i]);
        const int low = HexDigitValue(text[3 * i + 1]);
        if (high < 0 || low < 0 || (i > 0 && text[3 * i - 1] != separator)) {
            return std::nullopt;
        }
        bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return MacAddress(bytes);
}

Ipv4Text::Ipv4Text(Ipv4Address address) {
    const auto put = [this](int character) { m_text[m_length++] = static_cast<char>(character); };
    for (const std::uint8_t byte : address.Bytes()) {
        if (m_length > 0) {
            put('.');
        }
        if (byte >= 100) {
            put('0' + byte / 100);
        }
        if (byte >= 10) {
            put('0' + byte / 10 % 10);
        }
        put('0' + byte % 10);
    }
}

std::wstring FormatIPAddr(Ipv4Address address) {
    const Ipv4Text text(address);
    const std::string_view narrow = text;
    return {narrow.begin(), narrow.end()};
}

std::wstring FormatMACAddr(MacAddress address) {
    constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
    std::wstring text;
    text.reserve(17);
    for (const std::uint8_t byte : address.Bytes()) {
        if (!text.empty()) {
            text += L'-';
        }
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

} // namespace vnxtest
