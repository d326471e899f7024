#include "cli/terminal_port.h"

#include "cli/output/console.h"

namespace vnxtest {

namespace {

// Prints the notes. True without a refusal; otherwise stores it in `refusal`.
bool Take(const DialogAnswer& answer, std::wstring& refusal) {
    for (const std::wstring& note : answer.notes) {
        Complain(note);
    }
    if (answer.refusal) {
        refusal = *answer.refusal;
    }
    return !answer.refusal;
}

} // namespace

bool TerminalPort::AskParameters(GuestParameters& parameters) {
    // A question answered with "no" leads back here; a second answer would be the same.
    return m_refusal.empty() && Take(AnswerParameters(m_options, *m_sources, parameters), m_refusal);
}

int TerminalPort::ShowProceedTaskDialog(const ProceedQuestion& question) {
    const std::wstring note = question.aboutGateway ? TakeGatewayNote() : std::wstring();
    if (m_options.proceed) {
        Complain(L"warning: " + (note.empty() ? std::wstring(question.mainInstruction) : note) +
                 L" Proceeding, as --proceed says.");
        return kProceedButton;
    }
    m_refusal = note + (note.empty() ? L"" : L"\n") + DescribeWarning(question) +
                L" Give --proceed to start all the same";
    if (question.aboutGateway) {
        m_refusal += m_options.gateway ? L", or --gateway IP with a gateway that answers."
                                       : L", or --gateway IP to define the default gateway.";
    } else {
        m_refusal += L".";
    }
    return kCancelButton;
}

bool TerminalPort::AskPingWho(PingWhoParameters& parameters) {
    return Take(AnswerPingWho(m_options, m_target, parameters), m_refusal);
}

} // namespace vnxtest
