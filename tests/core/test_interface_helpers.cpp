#include <array>
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
    using Bytes = std::array<std::uint8_t, 16>;
    const auto expectLast = [this](std::int32_t result, std::uint32_t code, const Bytes& bytes) {
        EXPECT_EQ(result, 0);
        EXPECT_EQ(m_library.requests.back().code, code);
        EXPECT_EQ(std::memcmp(m_library.requests.back().record.u.bytes, bytes.data(), bytes.size()), 0)
            << code;
    };
    expectLast(VNETX_SetIPAddr(m_library, 3, L"a-name-of-twenty-chr", L"10.1.2.3"), 0x8916,
               {2, 0, 0, 0, 10, 1, 2, 3});
    EXPECT_STREQ(m_library.requests.back().record.name, "a-name-of-twent");
    expectLast(VNETX_SetMACAddr(m_library, 3, L"vnx0", L"02-00-5E-80-00-04"), 0x8924,
               {1, 0, 0x02, 0x00, 0x5E, 0x80, 0x00, 0x04});
    expectLast(VNETX_SetMTU(m_library, 3, L"vnx0", L"46"), 0x8922, {46});
    expectLast(VNETX_SetMTU(m_library, 3, L"vnx0", L"65536"), 0x8922, {0, 0, 1});
    expectLast(VNETX_SetFlags(m_library, 3, L"vnx0", VNETX_IFF_UP | VNETX_IFF_DEBUG), 0x8914, {5});
    EXPECT_EQ(TakeText(), "");
}

} // namespace
} // namespace vnxtest
