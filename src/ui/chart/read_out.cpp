#include "ui/chart/read_out.h"

#include "ui/chart/chart_axis.h"
#include "wrenlib/format.h"

namespace vnxtest {

std::vector<std::wstring> ChartFigures(const PingHistory& history) {
    if (!history.HasTest()) {
        return {L"No ping test yet"};
    }
    const PingSummary& summary = history.Summary();
    std::vector<std::wstring> list = {Sprintf(L"Sent %u", summary.sent),
                                      Sprintf(L"Received %u", summary.received),
                                      Sprintf(L"Lost %u (%u%%)", summary.lost, summary.lossPercent)};
    if (summary.late != 0) {
        list.push_back(Sprintf(L"Late %u", summary.late));
    }
    if (summary.received != 0) {
        list.push_back(L"Minimum " + DurationText(static_cast<double>(summary.minimum)));
        list.push_back(L"Maximum " + DurationText(static_cast<double>(summary.maximum)));
        list.push_back(L"Average " + DurationText(static_cast<double>(summary.average)));
    }
    return list;
}

std::wstring ReadOut(const PingHistory& history, std::size_t position) {
    const CPing& ping = history.At(position);
    std::wstring text = Sprintf(L"#%u: %s", position + 1, NameOf(history.StateAt(position)));
    if (ping.nReplies != 0) {
        text += L" after " + DurationText(static_cast<double>(ping.roundTripNs));
    }
    if (ping.nReplies > 1) {
        text += Sprintf(L", %u replies", ping.nReplies);
    }
    return text;
}

const wchar_t* NameOf(PingState state) {
    switch (state) {
    case PingState::Reply:
        return L"reply";
    case PingState::LateReply:
        return L"late reply";
    case PingState::Lost:
        return L"lost";
    case PingState::Waiting:
        break;
    }
    return L"no reply yet";
}

std::wstring JoinTexts(const std::vector<std::wstring>& texts) {
    std::wstring line;
    for (const std::wstring& text : texts) {
        line += (line.empty() ? L"" : L", ") + text;
    }
    return line;
}

} // namespace vnxtest
