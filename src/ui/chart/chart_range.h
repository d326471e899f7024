// The pings that the chart shows: all of them, or a part that was zoomed into. Plain numbers; uses no
// windows.
//
// A ping's position is its number less one; the ping at `p` takes the place from p to p + 1. User-interface
// thread.
#pragma once

#include <cstddef>

namespace vnxtest {

// The pings that there are, or will be.
struct PingSpan {
    std::size_t first = 0;
    std::size_t count = 1;
};

class ChartRange {
public:
    // No fewer pings than these are shown, if there are as many.
    static constexpr double kLeast = 5;

    double Begin() const { return m_begin; }
    double Length() const { return m_length; }
    double End() const { return m_begin + m_length; }
    bool IsWhole() const { return m_whole; }

    // What there is has changed, and `sent` of it were sent by now (a position). All stays all; a part stays
    // where it is, or goes along if the newest ping was in it.
    void Fit(PingSpan span, std::size_t sent);
    void ShowAll();
    // Shows 1 / `factor` of what is shown; what stands at `part` of the width (0 to 1) stays there.
    void Zoom(double factor, double part);
    // Shows what lies `pings` further on.
    void Pan(double pings);
    // Shows the ping at `position`, going no further than needed.
    void Reveal(std::size_t position);

    // The position at `part` of the width, and where a position stands.
    double PositionAt(double part) const { return m_begin + part * m_length; }
    double PartOf(double position) const { return (position - m_begin) / m_length; }

private:
    void Clamp();

    PingSpan m_span;
    std::size_t m_sent = 0;
    bool m_whole = true;
    double m_begin = 0;
    double m_length = 1;
};

} // namespace vnxtest
