// The terminal's side of the engine's port: the message queue of the main thread, and the answers in place
// of the window's dialogs. Main thread, except posting.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "cli/messages/message_queue.h"
#include "cli/options/dialog_answers.h"
#include "cli/options/options.h"
#include "guest/front_end.h"

namespace vnxtest {

class TerminalPort final : public FrontEnd {
public:
    explicit TerminalPort(const Options& options) : m_options(options) {}

    // The sources of the answers. Set before the guest is started.
    void SetSources(const AnswerSources& sources) { m_sources.emplace(sources); }
    // The resolved target of the command line. Set before the ping test.
    void SetTarget(Ipv4Address target) { m_target = target; }

    // A note about the gateway of the command line. The question about the gateway includes it, unless it
    // was taken before.
    void SetGatewayNote(std::wstring note) { m_gatewayNote = std::move(note); }
    std::wstring TakeGatewayNote() { return std::exchange(m_gatewayNote, {}); }

    MessageQueue& Queue() { return m_queue; }
    // Why the last question was answered with "no"; empty if none was.
    const std::wstring& Refusal() const { return m_refusal; }

    void PostViewMessage(ViewMessage message) override { m_queue.Post(message); }
    bool AskParameters(GuestParameters& parameters) override;
    int ShowProceedTaskDialog(const ProceedQuestion& question) override;
    bool AskPingWho(PingWhoParameters& parameters) override;

private:
    const Options& m_options;
    std::optional<AnswerSources> m_sources;
    Ipv4Address m_target;
    std::wstring m_gatewayNote;
    MessageQueue m_queue;
    std::wstring m_refusal;
};

} // namespace vnxtest
