// The capture decorator: files that the system's own capture library reads.

#include <filesystem>

#include <pcap.h>

#include "vnetx/capture_library.h"
#include "vnetx/sim_guest.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

TEST(Captures, HoldTheFramesOfTheirLinkTypeInOrder) {
    const auto lan = Lan();
    std::wstring error;
    EXPECT_FALSE(CaptureLibrary::Create(*lan, "/no/such/x.pcap", {}, {}, error));
    EXPECT_NE(error.find(L"/no/such/x.pcap"), std::wstring::npos);
    const std::string tapFile = std::string(kProgramFolder) + "/tap.pcap";
    const std::string tunFile = std::string(kProgramFolder) + "/tun.pcap";
    auto ethernet =
        CaptureLibrary::Create(*lan, tapFile, CaptureLink::Ethernet, CaptureStamps::Nanoseconds, error);
    auto raw =
        CaptureLibrary::Create(*ethernet, tunFile, CaptureLink::RawIp, CaptureStamps::Microseconds, error);
    ASSERT_TRUE(ethernet && raw) << ToUtf8(error);
    for (const bool tap : {false, true}) {
        SimGuest guest(*raw, {.tap = tap});
        guest.Ping(kSimFirstEchoHost, 1, 8);
        EXPECT_EQ(guest.ReadPacket().size(), 36u);
    }
    raw->Flush();
    ethernet->Flush();
    EXPECT_TRUE(raw->IsSound() && ethernet->IsSound());
    // The request, in TAP mode the ARP question and its answer, the reply.
    for (const auto& [file, link, wanted] : {std::tuple{tunFile, DLT_RAW, std::vector<unsigned>{36, 36}},
                                             {tapFile, DLT_EN10MB, {50, 42, 42, 50}}}) {
        char problem[PCAP_ERRBUF_SIZE] = "";
        pcap_t* const capture = pcap_open_offline(file.c_str(), problem);
        ASSERT_TRUE(capture) << problem;
        EXPECT_EQ(pcap_datalink(capture), link);
        std::vector<unsigned> lengths;
        pcap_pkthdr* header = nullptr;
        const u_char* bytes = nullptr;
        while (pcap_next_ex(capture, &header, &bytes) == 1) {
            EXPECT_LT(std::abs(header->ts.tv_sec - time(nullptr)), 60);
            lengths.push_back(header->caplen);
        }
        EXPECT_EQ(lengths, wanted);
        pcap_close(capture);
        std::filesystem::remove(file);
    }
}

} // namespace

} // namespace vnxtest
