#include "ping/round_trip_figures.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace vnxtest {

namespace {

// The sums that need the order of sending: no sum of squares, whose difference would lose the digits.
struct Course {
    double mean = 0;
    double squares = 0; // of the deviations from the mean
    double jitter = 0;
};

Course CourseOf(const std::vector<std::int64_t>& times) {
    Course course;
    double count = 0;
    double last = 0;
    for (const std::int64_t each : times) {
        const auto time = static_cast<double>(each);
        course.jitter += count == 0 ? 0 : (std::abs(time - last) - course.jitter) / 16;
        last = time;
        ++count;
        const double deviation = time - course.mean;
        course.mean += deviation / count;
        course.squares += deviation * (time - course.mean);
    }
    return course;
}

// The element at `index` of the times in order. Those before `from` are known to be smaller.
std::int64_t Select(std::vector<std::int64_t>& times, std::size_t from, std::size_t index) {
    const auto at = [&times](std::size_t n) { return times.begin() + static_cast<std::ptrdiff_t>(n); };
    std::nth_element(at(from), at(index), times.end());
    return times[index];
}

} // namespace

std::optional<RoundTripFigures> FiguresOf(std::span<const CPing> pings) {
    std::vector<std::int64_t> times;
    times.reserve(pings.size());
    for (const CPing& ping : pings) {
        if (ping.nReplies != 0) {
            times.push_back(ping.roundTripNs);
        }
    }
    if (times.empty()) {
        return std::nullopt;
    }
    RoundTripFigures figures;
    figures.count = times.size();
    const Course course = CourseOf(times);
    figures.mean = std::llround(course.mean);
    figures.standardDeviation = std::llround(std::sqrt(course.squares / static_cast<double>(times.size())));
    figures.jitter = std::llround(course.jitter);
    // From the lowest place up, so that each search needs only the part above the last.
    const std::size_t lower = (times.size() - 1) / 2;
    const std::size_t upper = times.size() / 2;
    const auto place = [&times](std::size_t percent) { return (times.size() * percent + 99) / 100 - 1; };
    figures.minimum = *std::min_element(times.begin(), times.end());
    const std::int64_t middle = Select(times, 0, lower);
    figures.median = middle + (Select(times, lower, upper) - middle) / 2;
    figures.percentile95 = Select(times, upper, std::max(place(95), upper));
    figures.percentile99 = Select(times, std::max(place(95), upper), std::max(place(99), upper));
    figures.maximum = *std::max_element(times.begin(), times.end());
    return figures;
}

} // namespace vnxtest
