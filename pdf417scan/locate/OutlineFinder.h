#pragma once

#include "pdf417scan/imaging/Homography.h"
#include "pdf417scan/imaging/LineSampler.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/EdgeLineFinder.h"

#include <vector>

namespace pdf417 {

// A symbol as located before its rows are read: the wide bar of its start
// pattern and of its stop pattern, each from end to end, and a first guess at
// its width. "Top" is provisional: the end of each bar that comes first along
// the start edge's direction; the row indicators tell which way is up.
struct SymbolOutline {
    bool hasStart = false;
    bool hasStop = false;
    EdgeLine start;
    EdgeLine stop;
    // Centre lines of the start pattern's 8-module bar and of the stop
    // pattern's 7-module bar, where each ends (or leaves the frame).
    Point2D startTop, startBottom, stopTop, stopBottom;
    bool startTopCut = false, startBottomCut = false;
    bool stopTopCut = false, stopBottomCut = false;
    int columns = 0; // data columns guessed from the width; 0 with one side only
};

// Pairs start edges with stop edges into symbol outlines and walks each
// pattern's wide bar to its ends. An edge without a partner still makes an
// outline, for symbols with one pattern damaged, covered or out of frame.
//
// Scratch storage is kept between frames; one thread at a time.
class OutlineFinder {
public:
    // Replaces `outlines` with up to maxOutlines candidates, the best first.
    void find(const LineSampler& sampler, const std::vector<EdgeLine>& lines, int maxOutlines,
              std::vector<SymbolOutline>& outlines);

    // The map from (u, t) to the frame that the outline suggests: u in modules
    // from the start pattern's outer edge (as if `columns` data columns lay
    // between the patterns), t from 0 at the bars' tops to 1 at their
    // bottoms. With one pattern only, rows are taken square to its edge.
    static bool provisionalMap(const SymbolOutline& outline, int columns, Homography& out);

private:
    struct Pair {
        std::size_t start = 0;
        std::size_t stop = 0;
        EdgeLine startLine; // re-aimed for a short symbol
        EdgeLine stopLine;
        int score = 0;
        int columns = 0;
    };

    // Edges shorter than this many modules get their direction from the
    // pair's rows rather than from their own few hits.
    static constexpr float SHORT_EDGE = 16.0f;
    // How far along its edges one side of a symbol may lie from the other,
    // for each pixel across: the tangent of the steepest shear accepted.
    static constexpr float MAX_SHEAR = 1.5f;
    // A card seen steeply from one side shows its two pattern edges far from
    // parallel: up to about 63 degrees apart.
    static constexpr float MIN_EDGE_COSINE = 0.45f;

    // The mean module between two edges whose modules are a and b.
    static float moduleAcross(float a, float b);
    // Whether a start and a stop edge bound one symbol; fills pair.
    static bool pairUp(const EdgeLine& start, const EdgeLine& stop, Pair& pair);
    // Follows a bar's centre line from the last hit outwards; returns the
    // end, and whether it left the frame instead of ending.
    static Point2D walkBar(const LineSampler& sampler, const EdgeLine& line, float offset,
                           float halfWidth, float fromT, float direction, bool& cut);
    static bool measureBar(const LineSampler& sampler, const EdgeLine& line, float offset,
                           float halfWidth, Point2D& top, Point2D& bottom, bool& topCut,
                           bool& bottomCut, float sign);

    std::vector<std::uint8_t> paired_;
    std::vector<Pair> pairs_;
};

} // namespace pdf417
