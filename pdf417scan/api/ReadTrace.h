#pragma once

#include "pdf417scan/imaging/Point2D.h"

#include <array>
#include <vector>

namespace pdf417 {

// What a read found on its way, for pictures that show a user why a frame
// did or did not read. Filled only when asked for (it costs a little).
struct ReadTrace {
    struct Segment {
        Point2D from;
        Point2D to;
    };

    // Start and stop pattern edges the precise chain traced.
    std::vector<Segment> startEdges;
    std::vector<Segment> stopEdges;
    // The last grid laid over a symbol: its outline, its column and row
    // lines, and the cells that gave no codeword.
    bool hasGrid = false;
    int rows = 0;
    int dataColumns = 0;
    std::array<Point2D, 4> outline{};
    std::vector<Segment> gridLines;
    std::vector<std::array<Point2D, 4>> unreadCells;
};

} // namespace pdf417
