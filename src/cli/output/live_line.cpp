#include "cli/output/live_line.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "cli/output/console.h"
#include "platform/process/terminal.h"

namespace vnxtest {

namespace {

// Shared with threads that may be blocked in a write when the program ends.
struct State {
    std::mutex textLock; // never held during a write
    std::string wanted;  // guarded by it

    std::mutex writing;
    std::string shown; // guarded by `writing`: what stands on the terminal
};

std::shared_ptr<State> TheState() {
    static const auto state = std::make_shared<State>();
    return state;
}

// False if it is wanted already.
bool Want(std::string text) {
    const auto state = TheState();
    const std::lock_guard lock(state->textLock);
    return std::exchange(state->wanted, std::move(text)) != state->wanted;
}

} // namespace

LiveLine::LiveLine(bool wanted) : m_on(wanted && IsTerminal(stderr)) {}

void LiveLine::Show(std::string text) {
    if (!m_on) {
        return;
    }
    // The last column stays free: a terminal may begin a new line behind it.
    text.resize(std::min<std::size_t>(text.size(), TerminalWidth(stderr) - 1));
    if (Want(std::move(text))) {
        RewriteLiveLine();
    }
}

void LiveLine::Hide() {
    if (Want({})) {
        RewriteLiveLine();
    }
}

bool WriteAroundLiveLine(std::FILE* stream, std::string_view text) {
    const auto state = TheState();
    const std::lock_guard lock(state->writing);
    std::string wanted;
    {
        const std::lock_guard textLock(state->textLock);
        wanted = state->wanted;
    }
    const bool rewriteOnly = text == kRewriteLiveLine;
    if (rewriteOnly && wanted == state->shown) {
        return true;
    }
    if (wanted.empty() && state->shown.empty()) {
        return WriteAll(stream, text);
    }
    std::string whole;
    if (!state->shown.empty()) {
        whole = "\r" + std::string(state->shown.size(), ' ') + "\r";
    }
    if (!rewriteOnly) {
        whole += text;
        if (!text.ends_with('\n')) {
            wanted.clear(); // the rest of the line is yet to come
        }
    }
    whole += wanted;
    state->shown = std::move(wanted);
    return WriteAll(stream, whole);
}

} // namespace vnxtest
