// A guest with a front end that answers from a script; the test is its user-interface thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "guest/front_end.h"
#include "guest/guest.h"
#include "support/memory_profile.h"

namespace vnxtest {

class ScriptedFrontEnd : public FrontEnd {
public:
    void PostViewMessage(ViewMessage message) override {
        {
            const std::lock_guard lock(m_lock);
            m_messages.push_back(message);
        }
        m_posted.notify_all();
    }

    bool AskParameters(GuestParameters& parameters) override {
        offered.push_back(parameters);
        return askParameters && askParameters(parameters);
    }
    int ShowProceedTaskDialog(const ProceedQuestion& question) override {
        std::wstring& asked = questions.emplace_back();
        for (const std::wstring_view part :
             {question.title, question.mainInstruction, question.content, question.expandedInformation}) {
            asked.append(asked.empty() ? L"" : L"|").append(part);
        }
        const bool proceed = !answers.empty() && answers.front();
        if (!answers.empty()) {
            answers.pop_front();
        }
        return proceed ? kProceedButton : kCancelButton;
    }
    bool AskPingWho(PingWhoParameters& parameters) override { return askPingWho && askPingWho(parameters); }

    // Carries out posted messages as a front end's main thread does, until `done` or 20 seconds.
    bool Pump(Guest& guest, const std::function<bool()>& done) {
        const auto end = Clock::now() + std::chrono::seconds(20);
        while (!done()) {
            const auto message = Next(end);
            if (!message) {
                return false;
            }
            opened += *message == ViewMessage::InterfaceOpened ? 1 : 0;
            guest.HandleViewMessage(*message);
        }
        return true;
    }

    // Carries out what earlier runs left in the queue, so that none of it is taken for the next one's.
    void PumpLeftovers(Guest& guest) {
        while (const auto message = Next(Clock::now())) {
            guest.HandleViewMessage(*message);
        }
        opened = 0;
    }

    std::function<bool(GuestParameters&)> askParameters;
    std::function<bool(PingWhoParameters&)> askPingWho;
    std::deque<bool> answers;            // to the proceed questions; "no" when there is none left
    std::vector<std::wstring> questions; // their parts, with "|" between them
    std::vector<GuestParameters> offered;
    int opened = 0;

private:
    using Clock = std::chrono::steady_clock;
    std::optional<ViewMessage> Next(Clock::time_point end) {
        std::unique_lock lock(m_lock);
        if (!m_posted.wait_until(lock, end, [this] { return !m_messages.empty(); })) {
            return std::nullopt;
        }
        const ViewMessage message = m_messages.front();
        m_messages.pop_front();
        return message;
    }

    std::mutex m_lock;
    std::condition_variable m_posted;
    std::deque<ViewMessage> m_messages;
};

} // namespace vnxtest
