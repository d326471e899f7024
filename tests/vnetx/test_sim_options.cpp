// The options of the simulated LAN: what is taken and what is refused, and with which words.

#include <gtest/gtest.h>

#include "vnetx/sim_options.h"

namespace vnxtest {

namespace {

TEST(SimOptionsText, TakesEveryOptionWithFractionsAndBlanks) {
    std::wstring error;
    const auto options =
        ParseSimOptions(L"loss=5, dup=2.25,late=0,df=1,reorder=3,corrupt=4,truncate=6,foreign=100,"
                        L"delay=0.5,jitter=60000,lateby=900,pinger=1000,mtu=68,seed=18446744073709551615 ",
                        error);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->loss, 5);
    EXPECT_EQ(options->dup, 2.25);
    EXPECT_EQ(options->late, 0);
    EXPECT_EQ(options->df, 1);
    EXPECT_EQ(options->reorder, 3);
    EXPECT_EQ(options->corrupt, 4);
    EXPECT_EQ(options->truncate, 6);
    EXPECT_EQ(options->foreign, 100);
    EXPECT_EQ(options->delay, 0.5);
    EXPECT_EQ(options->jitter, 60000);
    EXPECT_EQ(options->lateBy, 900);
    EXPECT_EQ(options->pinger, 1000);
    EXPECT_EQ(options->mtu, 68u);
    EXPECT_EQ(options->seed, UINT64_MAX);
    EXPECT_TRUE(ParseSimOptions(L"  ", error));
}

struct Refused {
    const wchar_t* text;
    const wchar_t* named;   // what the message must name
    const wchar_t* allowed; // and what it must say is allowed
};

class SimOptionsRefused : public ::testing::TestWithParam<Refused> {};

TEST_P(SimOptionsRefused, NamesTheOptionAndWhatIsAllowed) {
    std::wstring error;
    EXPECT_FALSE(ParseSimOptions(GetParam().text, error));
    EXPECT_NE(error.find(GetParam().named), std::wstring::npos);
    EXPECT_NE(error.find(GetParam().allowed), std::wstring::npos);
    EXPECT_EQ(error.back(), L'.');
}

INSTANTIATE_TEST_SUITE_P(
    Sim, SimOptionsRefused,
    ::testing::Values(Refused{L"loss", L"\"loss\"", L"name=value"}, Refused{L"=5", L"\"=5\"", L"name=value"},
                      Refused{L"loss=5,", L"\"\"", L"name=value"},
                      Refused{L"loss=5,,dup=1", L"\"\"", L"name=value"},
                      Refused{L"los=5", L"\"los\"", L"loss, dup"},
                      Refused{L"Loss=5", L"\"Loss\"", L"loss, dup"},
                      Refused{L"loss=", L"\"loss\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=-1", L"\"-1\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=+1", L"\"+1\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=101", L"\"101\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=100.0001", L"\"loss\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=5%", L"\"5%\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=1e1", L"\"1e1\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=nan", L"\"nan\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=5.", L"\"5.\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=.5", L"\".5\"", L"from 0 to 100 (percent)"},
                      Refused{L"loss=1.2.3", L"\"1.2.3\"", L"from 0 to 100 (percent)"},
                      Refused{L"delay=60001", L"\"delay\"", L"from 0 to 60000 (milliseconds)"},
                      Refused{L"mtu=67", L"\"67\"", L"from 68 to 65535 (bytes)"},
                      Refused{L"mtu=1500.5", L"\"mtu\"", L"whole number"},
                      Refused{L"mtu=65536", L"\"mtu\"", L"from 68 to 65535 (bytes)"},
                      Refused{L"seed=18446744073709551616", L"\"seed\"", L"whole number"},
                      Refused{L"seed=x", L"\"x\"", L"whole number"},
                      Refused{L"loss=1,dup=2,loss=3", L"\"loss\"", L"twice"}));

} // namespace

} // namespace vnxtest
