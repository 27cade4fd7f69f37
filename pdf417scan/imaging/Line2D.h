#pragma once

#include "pdf417scan/imaging/Point2D.h"

#include <cmath>

namespace pdf417 {

// The line A·x + B·y + C = 0. Coefficients are kept as given; only
// normalize() makes (A, B) a unit vector.
class Line2D {
public:
    Line2D(float a, float b, float c) : a_(a), b_(b), c_(c) {}
    // The line through p and q (all coefficients 0 when p equals q).
    Line2D(const Point2D& p, const Point2D& q);
    Line2D(float x1, float y1, float x2, float y2);

    float A() const { return a_; }
    float B() const { return b_; }
    float C() const { return c_; }

    // Unguarded: a vertical line gives an infinite or NaN Y, a horizontal one
    // an infinite or NaN X. Callers check what they need.
    float Y(float x) const { return (-c_ - a_ * x) / b_; }
    float X(float y) const { return (-c_ - b_ * y) / a_; }

    void normalize();

    // Divides by the larger coefficient of l1. Fails, leaving out unchanged,
    // when a coefficient is NaN or infinite or the result is NaN. An infinite
    // result is not refused: two parallel slanted lines meet "at infinity"
    // and that point is returned.
    static bool intersect(const Line2D& l1, const Line2D& l2, Point2D& out);

private:
    bool isFinite() const { return std::isfinite(a_) && std::isfinite(b_) && std::isfinite(c_); }

    float a_;
    float b_;
    float c_;
};

} // namespace pdf417
