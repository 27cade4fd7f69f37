#include "pdf417scan/imaging/Line2D.h"

#include <cmath>

namespace pdf417 {

Line2D::Line2D(const Point2D& p, const Point2D& q)
    : a_(p.y() - q.y()), b_(q.x() - p.x()), c_(p.x() * q.y() - q.x() * p.y()) {}

Line2D::Line2D(float x1, float y1, float x2, float y2)
    : a_(y1 - y2), b_(x2 - x1), c_(x1 * y2 - x2 * y1) {}

void Line2D::normalize() {
    const float norm = std::sqrt(a_ * a_ + b_ * b_);
    a_ /= norm;
    b_ /= norm;
    c_ /= norm;
}

bool Line2D::intersect(const Line2D& l1, const Line2D& l2, Point2D& out) {
    // A line with a non-finite coefficient is no line; refuse it here rather
    // than hope the arithmetic turns it into NaN.
    if (!l1.isFinite() || !l2.isFinite()) {
        return false;
    }
    float x;
    float y;
    if (std::fabs(l1.a_) > std::fabs(l1.b_)) {
        y = (l1.c_ * l2.a_ - l2.c_ * l1.a_) / (l1.a_ * l2.b_ - l2.a_ * l1.b_);
        x = (-l1.c_ - y * l1.b_) / l1.a_;
    } else {
        x = (l1.c_ * l2.b_ - l2.c_ * l1.b_) / (l2.a_ * l1.b_ - l1.a_ * l2.b_);
        y = (-l1.c_ - x * l1.a_) / l1.b_;
    }
    if (std::isnan(x) || std::isnan(y)) {
        return false;
    }
    out.set(x, y);
    return true;
}

} // namespace pdf417
