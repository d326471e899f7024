#include "cli/report/outcome_texts.h"

#include <algorithm>

#include "core/run_settings.h"
#include "ping/echo_request.h"
#include "platform/process/privileges.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

std::wstring DescribeWriteFailure(const PingPlan& plan, const std::wstring& failure) {
    constexpr std::uint32_t kUsualMtu = 1500;
    constexpr auto kHeaders = static_cast<std::uint32_t>(kPingHeaders);
    std::wstring text = L"The ping test was broken off, for a packet could not be sent:\n" + failure;
    if (plan.dataSize + kHeaders > kUsualMtu) {
        text += Sprintf(
            L"\n--size %u makes packets of %u bytes, which few adapters take whole. Try --size %u or less.",
            plan.dataSize, plan.dataSize + kHeaders, kUsualMtu - kHeaders);
    }
    return text;
}

std::wstring DescribeDroppedFrames(const InterfaceCounts& counted, int index) {
    const std::uint64_t dropped = counted.droppedByDriver.value_or(0);
    if (dropped == 0) {
        return {};
    }
    const std::uint32_t size = counted.statistics.value_or(VnetxStatistics{}).kernelBufferSize / kKilo;
    std::wstring text = Sprintf(
        L"note: %d frames for interface %d were dropped unread, for the driver's buffer of %uK was full. A ping that was lost may be among them.",
        dropped, index + 1, size);
    if (size < kDriverBufferRange.highest) {
        text += Sprintf(L" A larger buffer holds more: --driver-buffer %u.",
                        std::min(size * 4, kDriverBufferRange.highest));
    }
    return text;
}

std::wstring DescribeStoppedGuest(const StoppedGuest& stopped) {
    std::wstring text = stopped.everOpened ? L"The guest has stopped because an interface failed"
                                           : L"The guest could not be started";
    text += stopped.failure.empty() ? L"." : L":\n" + stopped.failure;
    const bool tun = EqualNoCase(stopped.library, L"tun");
    const bool capture = EqualNoCase(stopped.library, L"pcap") || EqualNoCase(stopped.library, L"auto");
    const Privilege needed = tun ? Privilege::NetworkAdministration : Privilege::Capture;
    if ((tun || capture) && !stopped.rightsWereGone && !stopped.wasRefused && !MayOpen(needed)) {
        return text + L"\n" + HowToGrant(needed);
    }
    return text +
           L"\nThe lines above it in the document tell the whole story; \"vnxtest-cli adapters\" shows which "
           L"adapters there are and whether they are connected.";
}

} // namespace vnxtest
