#include <gtest/gtest.h>

#include "platform/resolver_configuration.h"

namespace vnxtest {
namespace {

using Servers = std::vector<std::string>;

TEST(NameServers, AreThoseThatTheCLibraryTakes) {
    EXPECT_EQ(ParseNameServers("# made by hand\n"
                               "; nameserver 1.1.1.1\n"
                               "#nameserver 1.1.1.2\n"
                               "search example.net\n"
                               "nameserver 10.0.0.1\n"
                               "nameserver\t10.0.0.2   # the second one\r\n"
                               "  nameserver 10.0.0.3\n" // not in the first column
                               "nameserver10.0.0.4\n"
                               "nameserver\n"
                               "nameserver   \n"
                               "nameserver not.an.address\n"
                               "nameserver 300.1.1.1\n"
                               "options ndots:1 nameserver 10.0.0.5\n"
                               "nameserver 2001:db8::53\n"
                               "nameserver fe80::1%eth0\n"
                               "nameserver 10.0.0.6"), // no line end
              (Servers{"10.0.0.1", "10.0.0.2", "2001:db8::53", "fe80::1%eth0", "10.0.0.6"}));
    EXPECT_TRUE(ParseNameServers("nameserver").empty());
}

} // namespace
} // namespace vnxtest
