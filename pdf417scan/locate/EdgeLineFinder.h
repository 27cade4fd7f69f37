#pragma once

#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/PatternScanner.h"

#include <cstdint>
#include <vector>

namespace pdf417 {

// The outer edge of a start or a stop pattern, traced by the pattern hits of
// many scan lines.
struct EdgeLine {
    PatternHit::Kind kind = PatternHit::Start;
    Point2D origin;         // on the line: the centroid of its hits' outer points
    float tx = 0, ty = 1;   // unit vector along the edge
    float nx = 1, ny = 0;   // unit normal, pointing into the symbol
    float module = 0.0f;    // median module size across the edge, pixels
    float from = 0, to = 0; // extent of the hits along (tx, ty) from origin
    float contrast = 0.0f;  // mean contrast of its hits, gray levels
    // Mean unit vector from its hits' outer points to their inner ones: the
    // scan lines' way into the symbol, within about 22 degrees of the rows.
    float ix = 0, iy = 0;
    // The pattern's inner edge, fitted to the hits' inner points on its own:
    // under perspective it is not quite parallel to the outer one.
    Point2D innerOrigin;
    float innerTx = 0, innerTy = 1;
    int support = 0; // hits on it

    Point2D at(float t) const { return Point2D(origin.x() + t * tx, origin.y() + t * ty, 1.0f); }
    // Signed distance of p from the line, positive inside the symbol.
    float depth(const Point2D& p) const {
        return (p.x() - origin.x()) * nx + (p.y() - origin.y()) * ny;
    }
    float along(const Point2D& p) const {
        return (p.x() - origin.x()) * tx + (p.y() - origin.y()) * ty;
    }
    // Where the line through a and b crosses the outer (or inner) edge; NaN
    // coordinates when they run parallel.
    Point2D cross(const Point2D& a, const Point2D& b, bool inner) const;
};

// Groups pattern hits into the straight edges they lie on. A real symbol's
// start (or stop) pattern hits, from scan lines of every direction, share
// one outer edge line and one module size; the stray matches of text, paper
// texture and linear barcodes rarely line up, so they are left out. Each
// line is found by sampling pairs of hits (a fixed sequence, so a frame
// always gives the same lines), kept by its number of agreeing hits and then
// refitted on them.
//
// Scratch storage is kept between frames; one thread at a time.
class EdgeLineFinder {
public:
    // Replaces `lines` with the edges found among `hits`, most supported
    // first, at most maxLines of each kind.
    void find(const std::vector<PatternHit>& hits, int maxLines, std::vector<EdgeLine>& lines);

private:
    // Hits of the kind not yet on a line, with their module across `line`
    // taken from the inner-outer distance; true when at least two agree.
    int collect(const std::vector<PatternHit>& hits, const EdgeLine& line, float module,
                std::vector<std::uint32_t>& members) const;
    bool refit(const std::vector<PatternHit>& hits, const std::vector<std::uint32_t>& members,
               EdgeLine& line);
    // Trims best_ to its longest run along the line with no gap over maxGap.
    void keepLongestRun(const std::vector<PatternHit>& hits, const EdgeLine& line, float maxGap);

    std::vector<std::uint32_t> free_;
    std::vector<std::uint8_t> used_;
    std::vector<std::uint32_t> members_;
    std::vector<std::uint32_t> best_;
    std::vector<std::uint32_t> inliers_;
    std::vector<float> modules_;
};

} // namespace pdf417
