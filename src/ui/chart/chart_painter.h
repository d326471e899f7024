// Puts the shapes of a chart's picture on the screen or into a bitmap. User-interface thread.
#pragma once

#include <vector>

#include <wx/colour.h>
#include <wx/dc.h>
#include <wx/dcgraph.h>
#include <wx/font.h>

#include "ui/chart/chart_picture.h"

namespace vnxtest {

// What the inks of a picture look like.
struct ChartColours {
    wxColour background, text, grid, reply, late, lost;

    // Those of the desktop's theme.
    static ChartColours OfTheme();
    // Black and colours on white.
    static ChartColours OfPaper();

    const wxColour& Of(Ink ink) const;
};

// Texts are drawn by `texts` as those of the controls, in `font`; shapes are antialiased by `context`, which
// draws on the same surface.
void PaintChart(const std::vector<ChartShape>& shapes, const ChartColours& colours, const wxFont& font,
                wxDC& texts, wxGCDC& context);

} // namespace vnxtest
