#pragma once

#include "pdf417scan/imaging/Line2D.h"
#include "pdf417scan/imaging/Point2D.h"

#include <utility>
#include <vector>

namespace pdf417 {
namespace GeometryUtils {

// Mass-weighted orthogonal least-squares line; eps is the absolute tolerance
// on the second moments below which the vertical, horizontal and diagonal
// special cases apply. Fewer than two points give the line x = 0.
Line2D approximateLine(const std::vector<Point2D>& points, float eps);

// Mass-weighted centroid carrying the total mass; (0, 0) with mass 0 when empty.
Point2D calculateCenterOfMass(const std::vector<Point2D>& points);

// Unweighted centroid with mass 1; (0, 0) with mass 0 when empty.
Point2D calculateMean(const std::vector<Point2D>& points);

// Clips the segment p1-p2 to the picture by sliding its ends along the line.
// An end that is moved lands on the last pixel column or row (width - 1,
// height - 1); an end whose integer part is already inside stays as it is. A
// true result leaves finite ends in [0, width) x [0, height); on false p1 and
// p2 are left untouched. A NaN coordinate, width or height fails, and so does
// an infinite coordinate that cannot be slid onto the rectangle.
bool boundLine(Point2D& p1, Point2D& p2, float width, float height);

// True when p lies in the closed box spanned by (x1, y1) and (x2, y2), the
// corners given in either order. A NaN anywhere gives false.
bool testPoint(float x1, float y1, float x2, float y2, const Point2D& p);

// Walks the segments a and b in lock-step, calling callback(p, q) at the
// fractions 0, 1/steps, ..., (steps - 1)/steps of each; the end points are
// never visited. Stops as soon as the callback returns false.
template <typename F>
void scanRegion(const std::pair<Point2D, Point2D>& a, const std::pair<Point2D, Point2D>& b,
                unsigned long steps, F callback) {
    if (steps == 0) {
        return;
    }
    const float n = static_cast<float>(steps);
    const float dax = (a.second.x() - a.first.x()) / n;
    const float day = (a.second.y() - a.first.y()) / n;
    const float dbx = (b.second.x() - b.first.x()) / n;
    const float dby = (b.second.y() - b.first.y()) / n;
    Point2D p = a.first;
    Point2D q = b.first;
    for (unsigned long i = 0; i < steps; ++i) {
        if (!callback(p, q)) {
            return;
        }
        p.add(dax, day);
        q.add(dbx, dby);
    }
}

} // namespace GeometryUtils
} // namespace pdf417
