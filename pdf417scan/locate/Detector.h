#pragma once

#include "pdf417scan/imaging/IImage.h"
#include "pdf417scan/imaging/Line2D.h"
#include "pdf417scan/imaging/NiblackBinarizator.h"
#include "pdf417scan/imaging/Point2D.h"

#include <array>
#include <functional>
#include <vector>

namespace pdf417 {

// Finds one PDF417 symbol by its start and stop patterns on image rows and
// describes it by six corners. In the symbol's own reading direction (start
// pattern left, first row on top):
//   0, 1, 2: the start pattern's outer edge, its inner edge and the stop
//            pattern's wide-bar centre line, cut with the top edge;
//   3, 4, 5: the same three columns cut with the bottom edge.
// For a symbol turned by 180 degrees, 0-2 therefore lie on the lower edge in
// the image. One object serves one thread at a time; its scratch buffers keep
// their capacity from line to line and from image to image.
class Detector {
public:
    // A pattern match: three positions along a line, in pixels (see the
    // matchers for what they measure).
    using Match = std::array<unsigned int, 3>;

    // Checks run on the finished corners; all must return true. The library
    // installs none.
    std::vector<std::function<bool(Detector&, std::array<Point2D, 6>&)>> resultChecks;
    // Observers of found points; the library installs none and calls none.
    std::vector<std::function<void(Detector&, const Point2D&)>> pointObservers;

    // Start pattern 8 1 1 1 1 1 1 3 on a squeezed run vector, first occurrence.
    // On success match holds the pattern's first position, the middle of its
    // wide bar and its last position, counted from the line's start in run
    // units (so a pattern past the first run reads one sample late at [0] and
    // [2] is the first sample after it). The pattern must be followed by at
    // least one more run. On failure match is left as it was.
    static bool findStartPattern(const std::vector<short>& runs, Match& match);

    // Stop pattern 7 1 1 3 1 1 1 2 1, last occurrence, measured backwards from
    // the line's end: [0] distance of its first (inner) position, [1] of the
    // middle of its wide bar, [2] of what lies beyond it. For a squeezed line
    // of n samples, n - match[0] is the pattern's first sample. The pattern
    // must be preceded by at least one run.
    static bool findStopPattern(const std::vector<short>& runs, Match& match);

    // The first row, searched every third row outwards from the middle, that
    // holds a start pattern. Returns 1 when it reads left to right, -1 when it
    // reads right to left (the symbol is turned or mirrored), 0 when no row
    // holds one. points get the pattern's outer edge, wide-bar middle and
    // inner end on that row; on 0 they are left as they were.
    int detectScanLine(const IImage& image, std::array<Point2D, 3>& points);

    // Locates the symbol and writes its six corners. On false the corners'
    // content is unspecified. Any frame is safe to pass, including empty,
    // one-pixel-high or noise frames.
    bool detect(const IImage& image, std::array<Point2D, 6>& corners);

    // Iteratively reweighted fit that strips outliers from a roughly vertical
    // point list in place and leaves the weights in the survivors' masses.
    static void filterPoints(std::vector<Point2D>& points);

    // The points collected by the last detect, for inspection.
    const std::vector<Point2D>& startOuterPoints() const { return startOuter_; }
    const std::vector<Point2D>& startInnerPoints() const { return startInner_; }
    const std::vector<Point2D>& stopCenterPoints() const { return stopCenter_; }

private:
    // Binarises and squeezes samples_ into runs_, reversed when dir < 0.
    void squeezeLine(int dir);
    // The ends of a bar along its centre line `line`, walking from the
    // points' centroid to the first light sample each way. False when the
    // line cannot be clipped to the image or the ends are not finite.
    bool findBarEnds(const IImage& image, const std::vector<Point2D>& center, const Line2D& line,
                     Point2D& top, Point2D& bottom);
    // The top and bottom edge lines estimated from the start side alone,
    // through pTop and pBottom (the start bar's ends with their margin).
    bool estimateEdgesFromStart(const IImage& image, const Line2D& bar, const Point2D& pTop,
                                const Point2D& pBottom, const Line2D& outerLine,
                                const Line2D& innerLine, Line2D& topLine, Line2D& bottomLine);
    // Moves the far end of an edge line from anchor along `far`, step pixels
    // at a time, until the line no longer crosses the symbol (its deviation
    // drops to a third), or the image border or limitY is reached.
    Point2D walkEdge(const IImage& image, const Line2D& far, const Point2D& anchor, float limitY,
                     float step);

    std::vector<unsigned char> samples_;
    std::vector<unsigned char> binarized_;
    std::vector<short> runs_;
    std::vector<Point2D> startOuter_;
    std::vector<Point2D> startCenter_;
    std::vector<Point2D> startInner_;
    std::vector<Point2D> stopInner_;
    std::vector<Point2D> stopCenter_;
    std::vector<Point2D> stopOuter_;
    NiblackBinarizator binarizator_;
};

} // namespace pdf417
