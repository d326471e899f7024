#include "cli/terminal_port.h"

#include "cli/console.h"
#include "cli/dialog_answers.h"

namespace vnxtest {

namespace {

// Tells the notes. Returns whether there is no refusal, which is kept otherwise.
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
    // A question that was answered with "no" leads back here: there is nobody to change his mind.
    return m_refusal.empty() && Take(AnswerParameters(m_options, *m_host, *m_profile, parameters), m_refusal);
}

int TerminalPort::ShowProceedTaskDialog(const ProceedQuestion& question) {
    if (m_options.proceed) {
        Complain(L"warning: " + std::wstring(question.mainInstruction) + L" Proceeding, as --proceed says.");
        return kProceedButton;
    }
    m_refusal =
        DescribeWarning(question) + L" Give --proceed to start all the same" +
        (question.title == L"Undefined Gateway" ? L", or --gateway IP to define the default gateway." : L".");
    return kCancelButton;
}

bool TerminalPort::AskPingWho(PingWhoParameters& parameters) {
    return Take(AnswerPingWho(m_options, m_target, parameters), m_refusal);
}

} // namespace vnxtest
