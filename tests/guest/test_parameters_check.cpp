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

    TestHost host{{{{10, 1, 2, 3}, {255, 255, 255, 0}, L"eth0", *ParseMACAddress(kAdapterMac)}}};
    GuestParameters parameters = Good();
};

TEST_F(ParametersCheck, AcceptsWhatIsRightAndCompletesIt) {
    parameters.interface1.guestMacText = L" 02:00:5e:80:00:04 ";
    EXPECT_FALSE(CheckParameters(parameters, host.network, host.library));
    EXPECT_EQ(parameters.interface1.guestMacText, L"02:00:5e:80:00:04");

    parameters.interface2.guestMacText = L"";
    EXPECT_FALSE(CheckParameters(parameters, host.network, host.library));
    EXPECT_EQ(parameters.interface2.guestMacText, GeneratedMac(host, {10, 1, 2, 222}));
    // The second interface may do without an address, as long as its MAC is given.
    parameters.interface2.guestIpText = L"";
    EXPECT_FALSE(CheckParameters(parameters, host.network, host.library));
    parameters.interface2.guestMacText = L"";
    EXPECT_EQ(CheckParameters(parameters, host.network, host.library)->text, kBadMac);
    EXPECT_EQ(host.TakeAssertions(), 1) << "nothing to generate the MAC from";
}

// Both interfaces are checked by the same rules: each fault is tried on either.
TEST_F(ParametersCheck, NamesTheFieldAndTheReason) {
    using Field = ParameterField;
    constexpr const wchar_t *kIp = L"10.1.2.5", *kAdapterIp = L"10.1.2.3";
    std::vector<std::tuple<Field, const wchar_t*, InterfaceParameters>> faults = {
        {Field::AdapterIp, kNoAdapter, {false, kIp, L"", L"", L"  "}},
        {Field::AdapterMac, kUnknownMac, {false, kIp, L"", L"", L"00-1B-21-AA-BB-CD"}},
        {Field::AdapterMac, kBoth, {false, kIp, L"", kAdapterIp, kAdapterMac}},
        {Field::AdapterIp, kUnknownIp, {false, kIp, L"", L"10.1.2.4", L""}},
        {Field::AdapterIp, kUnknownIp, {false, kIp, L"", L"eth0", L""}},
    };
    faults.push_back({Field::GuestIp, kBadIp, {false, L"10.1.2", L"", kAdapterIp, L""}});
    for (const wchar_t* mac : {L"03-00-5E-80-00-04", L"00-00-5E-80-00-04", L"02-00-5E-80-00"}) {
        faults.push_back({Field::GuestMac, kBadMac, {false, kIp, mac, kAdapterIp, L""}});
    }
    for (const auto& [field, text, entered] : faults) {
        for (const int index : {0, 1}) {
            parameters = Good();
            (index == 0 ? parameters.interface1 : parameters.interface2) = entered;
            const auto refusal = CheckParameters(parameters, host.network, host.library);
            ASSERT_TRUE(refusal.has_value()) << ToUtf8(text) << " interface " << index + 1;
            EXPECT_TRUE(refusal->interfaceIndex == index && refusal->field == field && refusal->text == text);
            const bool ip = field == Field::GuestIp || field == Field::AdapterIp;
            EXPECT_EQ(refusal->title, ip ? L"IP Address" : L"MAC Address");
        }
    }
}

// Only the first failure is told, in the order of the dialog.
TEST_F(ParametersCheck, TheOrder) {
    parameters.interface1 = parameters.interface2 = {false, L"", L"x", L"x", L""};
    for (InterfaceParameters* p : {&parameters.interface1, &parameters.interface2}) {
        p->guestIpText = p == &parameters.interface1 ? L"" : L"x"; // only the second one may be empty
        EXPECT_EQ(CheckParameters(parameters, host.network, host.library)->field, ParameterField::GuestIp);
        p->guestIpText = L"10.1.2.5";
        EXPECT_EQ(CheckParameters(parameters, host.network, host.library)->field, ParameterField::GuestMac);
        p->guestMacText = L"";
        EXPECT_EQ(CheckParameters(parameters, host.network, host.library)->field, ParameterField::AdapterIp);
        p->adapterIpText = L"10.1.2.3";
    }
    EXPECT_FALSE(CheckParameters(parameters, host.network, host.library));
}

TEST_F(ParametersCheck, WithoutTheSecondInterfaceItsTextsAreEmptiedUnchecked) {
    InterfaceParameters& second = parameters.interface2 = {true, L"x", L"x", L"x", L"x"};
    parameters.useTwoInterfaces = false;
    EXPECT_FALSE(CheckParameters(parameters, host.network, host.library));
    EXPECT_TRUE(second.tapMode) << "its mode is kept";
    EXPECT_EQ(second.guestIpText + second.guestMacText + second.adapterIpText + second.adapterMacText, L"");
    second.guestIpText = L"x";
    parameters.interface1.guestIpText = L"";
    EXPECT_TRUE(CheckParameters(parameters, host.network, host.library));
    EXPECT_EQ(second.guestIpText, L"x") << "nothing is touched when the first interface is refused";
}

} // namespace
} // namespace vnxtest
