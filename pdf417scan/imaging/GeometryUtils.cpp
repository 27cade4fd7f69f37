#include "pdf417scan/imaging/GeometryUtils.h"

#include <cmath>

namespace pdf417 {
namespace GeometryUtils {

namespace {
// Nearest float to 1/sqrt(2).
constexpr float kInvSqrt2 = 0.70710677f;
} // namespace

Line2D approximateLine(const std::vector<Point2D>& points, float eps) {
    if (points.size() < 2) {
        return Line2D(1.0f, 0.0f, 0.0f);
    }
    const Point2D c = calculateCenterOfMass(points);
    float sxx = 0.0f;
    float syy = 0.0f;
    float sxy = 0.0f;
    for (const Point2D& p : points) {
        const float dx = p.x() - c.x();
        const float dy = p.y() - c.y();
        const float m = p.mass();
        // Weight times square, (m·dx)·dy for the cross term: the rounding
        // the fit is tuned to.
        sxx += m * (dx * dx);
        syy += m * (dy * dy);
        sxy += m * dx * dy;
    }

    float a;
    float b;
    if (eps > std::fabs(sxy)) {
        if (syy > sxx) {
            a = 1.0f;
            b = 0.0f;
        } else {
            a = 0.0f;
            b = 1.0f;
        }
    } else if (eps > std::fabs(syy - sxx)) {
        a = kInvSqrt2;
        b = sxy > eps ? -kInvSqrt2 : kInvSqrt2;
    } else {
        // Of the two principal directions keep the root of magnitude at most
        // 1, so the normal leans towards x for a steep cloud and towards y
        // for a flat one.
        const float t = sxy / (syy - sxx);
        const float r = std::sqrt(1.0f + 4.0f * (t * t));
        if (syy > sxx) {
            float s = (1.0f + r) / (2.0f * t);
            if (std::fabs(s) > 1.0f) {
                s = (1.0f - r) / (2.0f * t);
            }
            a = std::sqrt(1.0f / (1.0f + s * s));
            b = s * a;
        } else {
            float s = (-1.0f + r) / (2.0f * t);
            if (std::fabs(s) > 1.0f) {
                s = (-1.0f - r) / (2.0f * t);
            }
            b = std::sqrt(1.0f / (1.0f + s * s));
            a = s * b;
        }
    }
    return Line2D(a, b, -(a * c.x() + b * c.y()));
}

Point2D calculateCenterOfMass(const std::vector<Point2D>& points) {
    if (points.empty()) {
        return Point2D(0.0f, 0.0f, 0.0f);
    }
    float sx = 0.0f;
    float sy = 0.0f;
    float sm = 0.0f;
    for (const Point2D& p : points) {
        sx += p.mass() * p.x();
        sy += p.mass() * p.y();
        sm += p.mass();
    }
    return Point2D(sx / sm, sy / sm, sm);
}

Point2D calculateMean(const std::vector<Point2D>& points) {
    if (points.empty()) {
        return Point2D(0.0f, 0.0f, 0.0f);
    }
    float sx = 0.0f;
    float sy = 0.0f;
    for (const Point2D& p : points) {
        sx += p.x();
        sy += p.y();
    }
    const float n = static_cast<float>(points.size());
    return Point2D(sx / n, sy / n, 1.0f);
}

namespace {

bool outside(const Point2D& p, float width, float height) {
    return p.x() < 0.0f || p.x() >= width || p.y() < 0.0f || p.y() >= height;
}

bool hasNan(const Point2D& p) {
    return std::isnan(p.x()) || std::isnan(p.y());
}

// Clamps one end onto the rectangle along `line`; the targets are the last
// pixel column and row, not width and height.
void clampEnd(Point2D& q, const Line2D& line, float width, float height) {
    if (q.x() < 0.0f) {
        q.set(0.0f, line.Y(0.0f));
    } else if (q.x() >= width) {
        q.set(width - 1.0f, line.Y(width - 1.0f));
    }
    if (q.y() < 0.0f) {
        q.set(line.X(0.0f), 0.0f);
    } else if (q.y() >= height) {
        q.set(line.X(height - 1.0f), height - 1.0f);
    }
}

} // namespace

bool boundLine(Point2D& p1, Point2D& p2, float width, float height) {
    // A NaN coordinate or size cannot be placed on either side of anything;
    // every comparison would say "inside" and hand NaN on to the caller.
    if (hasNan(p1) || hasNan(p2) || std::isnan(width) || std::isnan(height)) {
        return false;
    }
    // The outcode compares the integer part of a coordinate with the size;
    // truncating in float keeps infinities away from an integer conversion.
    unsigned code = 0;
    code |= p1.x() < 0.0f ? 1u : 0u;
    code |= p2.x() < 0.0f ? 2u : 0u;
    code |= std::trunc(p1.x()) >= width ? 4u : 0u;
    code |= std::trunc(p2.x()) >= width ? 8u : 0u;
    code |= p1.y() < 0.0f ? 16u : 0u;
    code |= p2.y() < 0.0f ? 32u : 0u;
    code |= std::trunc(p1.y()) >= height ? 64u : 0u;
    code |= std::trunc(p2.y()) >= height ? 128u : 0u;
    if (code == 0) {
        return true;
    }
    if ((code & 3u) == 3u || (code & 12u) == 12u || (code & 48u) == 48u || (code & 192u) == 192u) {
        return false;
    }

    const Line2D line(p1, p2);
    Point2D q1 = p1;
    Point2D q2 = p2;
    clampEnd(q1, line, width, height);
    clampEnd(q2, line, width, height);
    if (hasNan(q1) || hasNan(q2) || outside(q1, width, height) || outside(q2, width, height)) {
        return false;
    }
    p1 = q1;
    p2 = q2;
    return true;
}

bool testPoint(float x1, float y1, float x2, float y2, const Point2D& p) {
    // Written as "lies between" rather than "is not beyond" so that a NaN,
    // which compares false with everything, is never inside the box.
    const bool xInside = x2 > x1 ? x1 <= p.x() && p.x() <= x2 : x2 <= p.x() && p.x() <= x1;
    if (!xInside) {
        return false;
    }
    return y2 > y1 ? y1 <= p.y() && p.y() <= y2 : y2 <= p.y() && p.y() <= y1;
}

} // namespace GeometryUtils
} // namespace pdf417
