// A picture of the ping chart as SVG (W3C, Scalable Vector Graphics 1.1). Uses no windows. Any thread.
#pragma once

#include <functional>
#include <string>

#include "ui/chart/chart_picture.h"

namespace vnxtest {

struct SvgPage {
    double width = 0; // pixels, as in the picture
    double height = 0;
    double lineHeight = 16;                   // of the font that the picture was measured in
    std::function<std::string(Ink)> colourOf; // "#1B5FB4"
};

// The whole file, UTF-8.
std::string ChartSvg(const ChartPicture& picture, const SvgPage& page);

} // namespace vnxtest
