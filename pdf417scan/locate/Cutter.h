#pragma once

#include "pdf417scan/imaging/IImage.h"
#include "pdf417scan/imaging/Point2D.h"

#include <array>
#include <functional>
#include <utility>
#include <vector>

namespace pdf417 {

// Lays the codeword column boundaries of a located symbol. Each boundary is
// (point on the top edge, point on the bottom edge); the list runs from the
// start pattern's inner edge towards the stop pattern, so column k lies
// between line k and line k + 1, column 0 being the left row indicator. A
// whole symbol gives one line more than it has columns, indicators included.
// One object serves one thread at a time; its scratch buffers are reused.
class Cutter {
public:
    using Lines = std::vector<std::pair<Point2D, Point2D>>;

    // Checks run over the finished list; any false fails the cut. The library
    // installs none.
    std::vector<std::function<bool(Cutter&, Lines&)>> lineHooks;
    // Called with every edge point found; the library installs none.
    std::vector<std::function<void(Cutter&, const Point2D&)>> pointHooks;

    // Follows each boundary from the corners of the detector (same layout)
    // one codeword width at a time, at most 30 new lines. Fails, with lines
    // holding what was laid so far, when a corner is not finite, a boundary
    // cannot be laid (fewer than two edge points, or its fit misses an edge
    // line) or a line hook refuses.
    bool cut(const IImage& image, const std::array<Point2D, 6>& corners, Lines& lines);

    // Signed distance, in samples, from the reference sample (one past the
    // middle) to the nearest rise into a bar, read in the profile's own
    // direction: negative when the reference is dark, positive when it is
    // light. 0 for short, flat or edgeless profiles.
    int findAge(const std::vector<unsigned char>& profile);

private:
    // Moves a predicted boundary point along x onto the nearby bar edge.
    void snapToEdge(const IImage& image, Point2D& point, float dx);

    std::vector<unsigned char> profile_;
    std::vector<Point2D> edgePoints_;
    std::vector<unsigned char> binarized_;
};

} // namespace pdf417
