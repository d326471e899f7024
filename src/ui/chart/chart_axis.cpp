#include "ui/chart/chart_axis.h"

#include <algorithm>
#include <cmath>

#include "wrenlib/format.h"

namespace vnxtest {

namespace {

constexpr double kMicrosecond = 1e3; // nanoseconds
constexpr double kMillisecond = 1e6;
constexpr double kLeastTop = kMicrosecond; // of an axis whose times are all shorter
constexpr double kEmptyTop = kMillisecond; // of one without a time

// The smallest of 1, 2, 5, 10, 20, 50 ... that is not below `value`, which is 1 or more.
double RoundUp(double value) {
    double decade = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0, 10.0}) {
        if (step * decade >= value) {
            return step * decade;
        }
    }
    return 10 * decade;
}

std::wstring InUnit(double nanoseconds, double unit) {
    std::wstring text = Sprintf(L"%.2f", nanoseconds / unit);
    text.erase(text.find_last_not_of(L'0') + 1);
    if (text.back() == L'.') {
        text.pop_back();
    }
    return text + (unit == kMicrosecond ? L" \u00B5s" : L" ms");
}

} // namespace

std::wstring DurationText(double nanoseconds) {
    return InUnit(nanoseconds, nanoseconds > 0 && nanoseconds < kMillisecond ? kMicrosecond : kMillisecond);
}

TimeAxis::TimeAxis(std::int64_t lowest, std::int64_t highest, std::size_t mostMarks, bool logarithmic)
    : m_logarithmic(logarithmic) {
    const std::size_t most = std::max<std::size_t>(mostMarks, 1);
    logarithmic ? MakeLogarithmic(lowest, highest, most) : MakeLinear(highest, most);
}

void TimeAxis::MakeLinear(std::int64_t highest, std::size_t mostMarks) {
    const double top = highest > 0 ? std::max(static_cast<double>(highest), kLeastTop) : kEmptyTop;
    const double step = RoundUp(top / static_cast<double>(mostMarks));
    const int count = static_cast<int>(std::ceil(top / step - 1e-9));
    m_top = count * step;
    // One unit for all of them, so that they can be compared at a glance.
    const double unit = m_top < kMillisecond ? kMicrosecond : kMillisecond;
    for (int mark = 0; mark <= count; ++mark) {
        m_marks.push_back({static_cast<double>(mark) / count, InUnit(mark * step, unit)});
    }
}

void TimeAxis::MakeLogarithmic(std::int64_t lowest, std::int64_t highest, std::size_t mostMarks) {
    // What is shorter than a microsecond stands at the bottom, whose mark says so.
    const double low = std::max(static_cast<double>(lowest), kMicrosecond);
    const double high = highest > 0 ? std::max(static_cast<double>(highest), low) : kEmptyTop;
    m_bottom = std::floor(std::log10(highest > 0 ? low : kMicrosecond) + 1e-9);
    m_top = std::max(std::ceil(std::log10(high) - 1e-9), m_bottom + 1);
    const auto decades = static_cast<std::size_t>(m_top - m_bottom);
    const bool fine = decades * 3 <= mostMarks;
    const std::size_t every = (decades + mostMarks - 1) / mostMarks;
    for (std::size_t decade = 0; decade <= decades; decade += every) {
        for (const double step : {1.0, 2.0, 5.0}) {
            const double at = m_bottom + static_cast<double>(decade) + std::log10(step);
            if ((step == 1.0 || fine) && at <= m_top + 1e-9) {
                m_marks.push_back(
                    {(at - m_bottom) / (m_top - m_bottom),
                     DurationText(step * std::pow(10.0, m_bottom + static_cast<double>(decade)))});
            }
        }
    }
    if (lowest < static_cast<std::int64_t>(kMicrosecond) && highest > 0) {
        m_marks.front().label = L"\u2264 " + m_marks.front().label;
    }
}

double TimeAxis::PartOf(std::int64_t nanoseconds) const {
    const auto time = static_cast<double>(nanoseconds);
    const double at = m_logarithmic ? std::log10(std::max(time, 1.0)) : time;
    return std::clamp((at - m_bottom) / (m_top - m_bottom), 0.0, 1.0);
}

std::vector<std::size_t> NumberMarks(double begin, double end, std::size_t most) {
    std::vector<std::size_t> marks;
    if (most == 0 || end <= begin) {
        return marks;
    }
    const auto step =
        static_cast<std::size_t>(RoundUp(std::max(1.0, (end - begin) / static_cast<double>(most))));
    const auto first = static_cast<std::size_t>(std::max(0.0, std::ceil(begin))) + 1; // a number
    const auto last = static_cast<std::size_t>(std::floor(end));
    if (first == 1) {
        marks.push_back(1);
    }
    // The next to the first ping would stand too close to it.
    for (std::size_t number = (first + step - 1) / step * step; number <= last; number += step) {
        if (number > 1 && (first != 1 || number - 1 >= (step + 1) / 2)) {
            marks.push_back(number);
        }
    }
    return marks;
}

} // namespace vnxtest
