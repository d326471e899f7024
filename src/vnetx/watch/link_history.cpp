#include "vnetx/watch/link_history.h"

namespace vnxtest {
namespace {

std::size_t PlaceOf(LinkHistory::State state) {
    return static_cast<std::size_t>(state) - 1;
}

} // namespace

void LinkHistory::Begin(Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    if (!m_begin) {
        m_begin = m_since = now;
    }
}

void LinkHistory::Note(State state, Clock::time_point now) {
    const std::lock_guard lock(m_mutex);
    if (!m_begin || state == m_state) {
        return;
    }
    if (m_state != State::Fine) {
        m_troubles[PlaceOf(m_state)].ended += now - m_since;
    }
    m_state = state;
    m_since = now;
    if (state == State::Fine) {
        return;
    }
    Trouble& trouble = m_troubles[PlaceOf(state)];
    if (trouble.times++ == 0) {
        trouble.first = now;
    }
}

void LinkHistory::AddTo(WireFacts& facts, Clock::time_point now) const {
    using std::chrono::duration_cast;
    const std::lock_guard lock(m_mutex);
    const auto tell = [&](State state, LinkTrouble& told) {
        const Trouble& trouble = m_troubles[PlaceOf(state)];
        if (trouble.times == 0) {
            return;
        }
        told.times = trouble.times;
        told.first = duration_cast<std::chrono::milliseconds>(trouble.first - *m_begin);
        told.lasting = m_state == state;
        told.total = duration_cast<std::chrono::milliseconds>(
            trouble.ended + (told.lasting ? now - m_since : Clock::duration()));
    };
    tell(State::NoCarrier, facts.noCarrier);
    tell(State::Down, facts.down);
    tell(State::Gone, facts.gone);
}

} // namespace vnxtest
