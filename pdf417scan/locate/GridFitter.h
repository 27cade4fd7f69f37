#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/OutlineFinder.h"
#include "pdf417scan/sampling/IndicatorReader.h"

#include <vector>

namespace pdf417 {

// The symbol's grid as a homography from its own coordinates (u in modules
// from the start pattern's outer edge, v in rows from the top of row 0) to
// the frame, fitted by least squares to where the row indicators show row
// boundaries and to the ends of the patterns' wide bars that lie inside the
// frame. A homography follows perspective exactly, so columns keep their
// place across the widest symbol.
class GridFitter {
public:
    bool fit(const SymbolOutline& outline, const IndicatorReading& reading, Homography& out);

    // Refits to codewords found where they are: each from[i] (symbol
    // coordinates) was seen at to[i] (frame, weighted by mass).
    static bool refit(const std::vector<Point2D>& from, const std::vector<Point2D>& to,
                      Homography& out);

    // Modules from the start pattern's outer edge to the stop pattern's.
    static float symbolWidth(int columns) { return 17.0f * static_cast<float>(columns) + 69.0f; }

private:
    std::vector<Point2D> from_;
    std::vector<Point2D> to_;
};

} // namespace pdf417
