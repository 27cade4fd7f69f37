#include "pdf417scan/imaging/Point2D.h"

#include <cmath>

namespace pdf417 {

float Point2D::distance(const Point2D& a, Point2D b) {
    const float dx = b.x() - a.x();
    const float dy = b.y() - a.y();
    return std::sqrt(dx * dx + dy * dy);
}

Point2D Point2D::middle(const Point2D& a, const Point2D& b) {
    return Point2D((a.x() + b.x()) / 2.0f, (a.y() + b.y()) / 2.0f, 1.0f);
}

} // namespace pdf417
