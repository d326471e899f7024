#include <functional>

#include <gtest/gtest.h>

#include "guest/parameters_check.h"
#include "settings/test_host.h"

namespace vnxtest {
namespace {

constexpr const wchar_t* kAdapterMac = L"00-1B-21-AA-BB-CC";
constexpr const wchar_t* kBadIp = L"The IP Address you entered is invalid. Please enter a valid IP address.";
constexpr const wchar_t* kBadMac =
    L"The hardware address you entered is invalid. Please enter a valid hardware address";
constexpr const wchar_t* kNoAdapter = L"You must identify which host adapter should be used by specifying "
                                      L"either its IP address or MAC address.";
constexpr const wchar_t* kBoth =
    L"You must identify the host adapter by either its IP address or its MAC address, but not both.";
constexpr const wchar_t* kUnknownIp = L"No such host adapter exists with this IP address.";
constexpr const wchar_t* kUnknownMac = L"No such host adapter exists with this MAC address.";

class ParametersCheck : public testing::Test {
protected:
    static GuestParameters Good() {
        GuestParameters parameters;
        parameters.interface1 = {false, L"10.1.2.111", L"02-00-5E-80-00-04", L"10.1.2.3", L""};
        parameters.interface2 = {true, L"10.1.2.222", L"02-00-5E-80-00-05", L"", kAdapterMac};
        parameters.useTwoInterfaces = true;
        return parameters;
    }

    // Both interfaces are checked by the same rules: `spoil` is tried on either.
    void ExpectRefused(const std::function<void(InterfaceParameters&)>& spoil, ParameterField field,
                       const wchar_t* text) {
        for (const int index : {0, 1}) {
            GuestParameters parameters = Good();
            spoil(index == 0 ? parameters.interface1 : parameters.interface2);
            const auto refusal = CheckParameters(parameters, host.network);
            ASSERT_TRUE(refusal.has_value()) << ToUtf8(text) << " interface " << index + 1;
            EXPECT_EQ(refusal->interfaceIndex, index);
            EXPECT_EQ(refusal->field, field);
            EXPECT_EQ(refusal->text, text);
            const bool ip = field == ParameterField::GuestIp || field == ParameterField::AdapterIp;
            EXPECT_EQ(refusal->title, ip ? L"IP Address" : L"MAC Address");
        }
    }

    TestHost host{{{{10, 1, 2, 3}, {255, 255, 255, 0}, L"eth0", *ParseMACAddress(kAdapterMac)}}};
};

TEST_F(ParametersCheck, AcceptsWhatIsRight) {
    GuestParameters parameters = Good();
    EXPECT_FALSE(CheckParameters(parameters, host.network));
    EXPECT_EQ(parameters.interface1.guestMacText, L"02-00-5E-80-00-04");
    EXPECT_EQ(parameters.interface2.adapterMacText, kAdapterMac);

    parameters.interface1.guestMacText = L" 02:00:5e:80:00:04 ";
    EXPECT_FALSE(CheckParameters(parameters, host.network));
    EXPECT_EQ(parameters.interface1.guestMacText, L"02:00:5e:80:00:04");
}

TEST_F(ParametersCheck, GuestAddresses) {
    for (const wchar_t* text : {L"10.1.2", L"10.1.2.256", L"10.1.2.3.4", L"abc", L"10.1.2.-1"}) {
        ExpectRefused([text](auto& p) { p.guestIpText = text; }, ParameterField::GuestIp, kBadIp);
    }
    GuestParameters parameters = Good();
    parameters.interface1.guestIpText = L"";
    EXPECT_EQ(CheckParameters(parameters, host.network)->field, ParameterField::GuestIp);
    // The second interface may do without an address, as long as its MAC is given.
    parameters = Good();
    parameters.interface2.guestIpText = L"";
    EXPECT_FALSE(CheckParameters(parameters, host.network));
    EXPECT_EQ(host.TakeAssertions(), 0);
    parameters.interface2.guestMacText = L"";
    EXPECT_EQ(CheckParameters(parameters, host.network)->text, kBadMac);
    EXPECT_EQ(host.TakeAssertions(), 1) << "nothing to generate the MAC from";
}

TEST_F(ParametersCheck, GuestMacAddresses) {
    for (const wchar_t* text :
         {L"03-00-5E-80-00-04", L"00-00-5E-80-00-04", L"01-00-5E-80-00-04", L"02-00-5E-80-00",
          L"02-00-5E-80-00-0G", L"02-00:5E-80-00-04", L"FF-FF-FF-FF-FF-FF"}) {
        ExpectRefused([text](auto& p) { p.guestMacText = text; }, ParameterField::GuestMac, kBadMac);
    }
    GuestParameters parameters = Good();
    parameters.interface1.guestMacText = parameters.interface2.guestMacText = L"";
    EXPECT_FALSE(CheckParameters(parameters, host.network));
    std::array<std::uint8_t, 6> mac{};
    host.Library().BuildVantIfaceMac(mac.data(), Ipv4Address(10, 1, 2, 222).Bytes().data());
    EXPECT_EQ(parameters.interface2.guestMacText, FormatMACAddr(MacAddress(mac)));
    EXPECT_NE(parameters.interface1.guestMacText, parameters.interface2.guestMacText);
}

TEST_F(ParametersCheck, HostAdapters) {
    const auto name = [](const wchar_t* ip, const wchar_t* mac) {
        return [ip, mac](InterfaceParameters& p) {
            p.adapterIpText = ip;
            p.adapterMacText = mac;
        };
    };
    ExpectRefused(name(L"", L""), ParameterField::AdapterIp, kNoAdapter);
    ExpectRefused(name(L"", L"  "), ParameterField::AdapterIp, kNoAdapter);
    ExpectRefused(name(L"", L"00-1B-21-AA-BB-CD"), ParameterField::AdapterMac, kUnknownMac);
    ExpectRefused(name(L"", L"00-1B-21"), ParameterField::AdapterMac, kUnknownMac);
    ExpectRefused(name(L"10.1.2.3", kAdapterMac), ParameterField::AdapterMac, kBoth);
    ExpectRefused(name(L"10.1.2.4", L""), ParameterField::AdapterIp, kUnknownIp);
    ExpectRefused(name(L"eth0", L""), ParameterField::AdapterIp, kUnknownIp);
}

// Only the first failure is told, in the order of the dialog.
TEST_F(ParametersCheck, TheOrder) {
    GuestParameters parameters = Good();
    for (InterfaceParameters* p : {&parameters.interface1, &parameters.interface2}) {
        *p = {false, L"x", L"x", L"x", L""};
    }
    const auto next = [&] {
        const auto refusal = CheckParameters(parameters, host.network);
        return refusal ? std::pair(refusal->interfaceIndex, refusal->field)
                       : std::pair(-1, ParameterField::GuestIp);
    };
    for (int index : {0, 1}) {
        InterfaceParameters& p = index == 0 ? parameters.interface1 : parameters.interface2;
        EXPECT_EQ(next(), std::pair(index, ParameterField::GuestIp));
        p.guestIpText = L"10.1.2.5";
        EXPECT_EQ(next(), std::pair(index, ParameterField::GuestMac));
        p.guestMacText = L"";
        EXPECT_EQ(next(), std::pair(index, ParameterField::AdapterIp));
        p.adapterIpText = L"10.1.2.3";
    }
    EXPECT_EQ(next().first, -1);
}

TEST_F(ParametersCheck, WithoutTheSecondInterfaceItsTextsAreEmptiedUnchecked) {
    GuestParameters parameters = Good();
    parameters.interface2 = {true, L"x", L"x", L"x", L"x"};
    parameters.useTwoInterfaces = false;
    EXPECT_FALSE(CheckParameters(parameters, host.network));
    EXPECT_TRUE(parameters.interface2.tapMode) << "its mode is kept";
    EXPECT_EQ(parameters.interface2.guestIpText + parameters.interface2.guestMacText +
                  parameters.interface2.adapterIpText + parameters.interface2.adapterMacText,
              L"");
    // Nothing of it is touched when the first interface is refused.
    parameters.interface2.guestIpText = L"x";
    parameters.interface1.guestIpText = L"";
    EXPECT_TRUE(CheckParameters(parameters, host.network));
    EXPECT_EQ(parameters.interface2.guestIpText, L"x");
}

} // namespace
} // namespace vnxtest
