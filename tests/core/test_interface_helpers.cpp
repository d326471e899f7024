#include <cerrno>

#include "core/interface_helpers.h"
#include "support/output_fixture.h"
#include "wrenlib/errors.h"

namespace vnxtest {
namespace {

using InterfaceHelpersTest = OutputFixture;

TEST_F(InterfaceHelpersTest, RefusalsCarryTheirNumbersAndDoNotReachTheLibrary) {
    struct Refusal {
        std::int32_t (*setter)(VnetxLibrary&, std::int32_t, const wchar_t*, const wchar_t*);
        const wchar_t *name, *value;
        const char* message;
    };
    for (const auto& [setter, name, value, message] :
         {Refusal{VNETX_SetIPAddr, nullptr, L"1.2.3.4", "KXMTU005E Invalid net device name \"NULL\"\n"},
          {VNETX_SetIPAddr, L"vnx0", L"1.2.3", "KXMTU006E vnx0: Invalid IP address \"1.2.3\"\n"},
          {VNETX_SetDestAddr, L"vnx0", nullptr, "KXMTU008E vnx0: Invalid destination address \"NULL\"\n"},
          {VNETX_SetMTU, L"", L"1500", "KXMTU011E Invalid net device name \"\"\n"},
          {VNETX_SetMTU, L"vnx0", L"", "KXMTU012E vnx0: Invalid null or empty MTU.\n"},
          {VNETX_SetMTU, L"vnx0", L"45", "KXMTU013E vnx0: Invalid MTU \"45\"\n"},
          {VNETX_SetMTU, L"vnx0", L"65537", "KXMTU013E vnx0: Invalid MTU \"65537\"\n"},
          {VNETX_SetMACAddr, L"vnx0", L"02-00", "KXMTU015E vnx0: Invalid MAC address \"02-00\"\n"}}) {
        errno = 0;
        EXPECT_EQ(setter(m_library, 3, name, value), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(SavedErrorsOfThread().lastError, kErrorInvalidParameter);
        EXPECT_EQ(TakeText(), message);
    }
    EXPECT_TRUE(m_library.requests.empty());
}

TEST_F(InterfaceHelpersTest, RecordsAreEncodedToTheByte) {
    const wchar_t* longName = L"a-name-of-twenty-chr";
    EXPECT_EQ(VNETX_SetIPAddr(m_library, 3, longName, L"10.1.2.3"), 0);
    const auto& address = m_library.requests.back();
    EXPECT_EQ(address.code, 0x8916U);
    EXPECT_STREQ(address.record.name, "a-name-of-twent");
    const std::uint8_t inet[16] = {2, 0, 0, 0, 10, 1, 2, 3};
    EXPECT_EQ(std::memcmp(address.record.u.bytes, inet, 16), 0);

    EXPECT_EQ(VNETX_SetMACAddr(m_library, 3, L"vnx0", L"02-00-5E-80-00-04"), 0);
    const std::uint8_t hardware[16] = {1, 0, 0x02, 0x00, 0x5E, 0x80, 0x00, 0x04};
    EXPECT_EQ(m_library.requests.back().code, 0x8924U);
    EXPECT_EQ(std::memcmp(m_library.requests.back().record.u.bytes, hardware, 16), 0);

    for (const auto& [text, value] : {std::pair{L"46", 46U}, {L"65536", 65536U}}) {
        EXPECT_EQ(VNETX_SetMTU(m_library, 3, L"vnx0", text), 0);
        EXPECT_EQ(m_library.requests.back().record.u.mtu, value);
    }
    EXPECT_EQ(VNETX_SetFlags(m_library, 3, L"vnx0", VNETX_IFF_UP | VNETX_IFF_DEBUG), 0);
    EXPECT_EQ(m_library.requests.back().code, 0x8914U);
    EXPECT_EQ(m_library.requests.back().record.u.flags, 5U);
    EXPECT_EQ(TakeText(), "");
}

} // namespace
} // namespace vnxtest
