#include "ui/chart/chart_range.h"

#include <algorithm>

namespace vnxtest {

void ChartRange::Fit(PingSpan span, std::size_t sent) {
    const auto newest = static_cast<double>(m_sent);
    const bool follows = !m_whole && newest > m_begin && newest <= End();
    m_span = span;
    m_sent = sent;
    if (follows && static_cast<double>(sent) > End()) {
        m_begin = static_cast<double>(sent) - m_length;
    }
    Clamp();
}

void ChartRange::ShowAll() {
    m_whole = true;
    Clamp();
}

void ChartRange::Zoom(double factor, double part) {
    const double fixed = PositionAt(part);
    const auto all = static_cast<double>(m_span.count);
    m_length = std::clamp(m_length / factor, std::min(kLeast, all), all);
    m_begin = fixed - part * m_length;
    m_whole = m_length >= all;
    Clamp();
}

void ChartRange::Pan(double pings) {
    m_begin += pings;
    Clamp();
}

void ChartRange::Reveal(std::size_t position) {
    const auto at = static_cast<double>(position);
    m_begin = std::max(std::min(m_begin, at), at + 1 - m_length);
    Clamp();
}

void ChartRange::Clamp() {
    const auto first = static_cast<double>(m_span.first);
    const auto all = static_cast<double>(m_span.count);
    if (m_whole || m_length >= all) {
        m_begin = first;
        m_length = all;
        m_whole = true;
        return;
    }
    m_begin = std::clamp(m_begin, first, first + all - m_length);
}

} // namespace vnxtest
