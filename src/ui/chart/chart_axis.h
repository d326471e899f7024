// The axes of the ping chart: which round marks they have, what stands at them, and where a time lies between
// them. Plain numbers; uses no windows. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vnxtest {

// "812 µs", "0.25 µs", "12.57 ms": below a millisecond in microseconds; two decimals at most.
std::wstring DurationText(double nanoseconds);

struct TimeMark {
    double part = 0; // of the axis, from below: 0 to 1
    std::wstring label;
};

// The axis of the round trips. Its marks stand at round times, and every label is exact.
class TimeAxis {
public:
    // From 0, or with `logarithmic` from a power of ten, to a round time that is not below `highest`. At most
    // `mostMarks` marks above the lowest one, but at least one. Times in nanoseconds.
    TimeAxis(std::int64_t lowest, std::int64_t highest, std::size_t mostMarks, bool logarithmic);

    // Where a time lies, from below: 0 to 1.
    double PartOf(std::int64_t nanoseconds) const;
    const std::vector<TimeMark>& Marks() const { return m_marks; }

private:
    void MakeLinear(std::int64_t highest, std::size_t mostMarks);
    void MakeLogarithmic(std::int64_t lowest, std::int64_t highest, std::size_t mostMarks);

    bool m_logarithmic;
    double m_bottom = 0; // nanoseconds, or their decimal logarithm
    double m_top = 0;
    std::vector<TimeMark> m_marks;
};

// The numbers of pings at which the other axis has marks: round ones of those from position `begin` to `end`,
// at most `most`; the first ping, which has the number 1, if it is among them.
std::vector<std::size_t> NumberMarks(double begin, double end, std::size_t most);

} // namespace vnxtest
