#include "pdf417scan/locate/Cutter.h"

#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/Line2D.h"
#include "pdf417scan/imaging/RowUtils.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace pdf417 {

namespace {

// Both the most boundaries laid and the edge points per boundary.
constexpr int kMaxLines = 30;
constexpr int kSteps = 30;
// A profile spans 1.5 modules each way of a 17-module codeword, plus a pixel.
constexpr float kModules = 17.0f;
constexpr float kProfileModules = 1.5f;
constexpr float kFlat = 5.0f;
constexpr float kEps = 0.0001f;

bool isFinite(const Point2D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

} // namespace

int Cutter::findAge(const std::vector<unsigned char>& profile) {
    const std::size_t size = profile.size();
    if (size < 2 || size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return 0;
    }
    const float mean = RowUtils::calculateMean(profile);
    if (std::fabs(RowUtils::calculateDeviation(profile, mean)) < kFlat) {
        return 0;
    }
    binarized_.clear();
    for (const unsigned char sample : profile) {
        binarized_.push_back(static_cast<float>(sample) > mean ? 255 : 0);
    }
    // One past the middle, deliberately; two samples leave no room for it.
    std::size_t i = size / 2 + 1;
    if (i >= size) {
        return 0;
    }
    int count = 0;
    if (binarized_[i] < 128) {
        while (i > 0) {
            --i;
            if (binarized_[i] >= 128) {
                return count;
            }
            --count;
        }
        return 0;
    }
    while (++i < size) {
        if (binarized_[i] < 128) {
            return count;
        }
        ++count;
    }
    return 0;
}

void Cutter::snapToEdge(const IImage& image, Point2D& point, float dx) {
    const float half = std::trunc(std::fabs(dx) / kModules * kProfileModules) + 1.0f;
    const float width = static_cast<float>(image.width());
    const float height = static_cast<float>(image.height());
    // A profile that does not fit in the image is not sampled, which leaves
    // the point where it was predicted.
    if (!(half < width) || !(point.x() >= 0.0f && point.x() < width) ||
        !(point.y() >= 0.0f && point.y() < height)) {
        return;
    }
    const auto n = static_cast<std::int64_t>(half);
    const auto x = static_cast<std::int64_t>(point.x());
    const auto y = static_cast<unsigned>(point.y());
    if (x < n || x + n >= static_cast<std::int64_t>(image.width())) {
        return;
    }
    const auto left = static_cast<unsigned>(x - n);
    const auto right = static_cast<unsigned>(x + n);
    // Read in the direction the boundaries advance, so that the edge sought
    // is always the rise into a codeword's first bar.
    const bool forward = dx > 0.0f;
    if (forward) {
        image.sampleLine(left, y, right, y, profile_);
    } else {
        image.sampleLine(right, y, left, y, profile_);
    }
    const int age = findAge(profile_);
    point.add(static_cast<float>(forward ? age : -age), 0.0f);
}

bool Cutter::cut(const IImage& image, const std::array<Point2D, 6>& corners, Lines& lines) {
    lines.clear();
    for (const Point2D& corner : corners) {
        if (!isFinite(corner)) {
            return false;
        }
    }
    lines.emplace_back(corners[1], corners[4]);
    const Line2D top(corners[0], corners[2]);
    const Line2D bottom(corners[3], corners[5]);
    const float stopDx = (corners[5].x() - corners[2].x()) / static_cast<float>(kSteps);
    const float stopDy = (corners[5].y() - corners[2].y()) / static_cast<float>(kSteps);

    // The start pattern is as wide as a codeword, so its outer and inner edges
    // are one codeword width apart, like any two neighbouring boundaries.
    std::pair<Point2D, Point2D> previous(corners[0], corners[3]);
    std::pair<Point2D, Point2D> current(corners[1], corners[4]);
    for (int pass = 0; pass < kMaxLines; ++pass) {
        edgePoints_.clear();
        const float dx = (previous.second.x() - previous.first.x()) / static_cast<float>(kSteps);
        const float dy = (previous.second.y() - previous.first.y()) / static_cast<float>(kSteps);
        const Line2D boundary(current.first, current.second);
        Point2D p = previous.first;
        Point2D s = corners[2];
        for (int step = 0; step < kSteps; ++step) {
            Point2D c;
            if (Line2D::intersect(Line2D(p, s), boundary, c) && isFinite(c)) {
                // One codeword width further on, as p and c lie on
                // neighbouring boundaries.
                Point2D next(2.0f * c.x() - p.x(), 2.0f * c.y() - p.y(), 1.0f);
                if (isFinite(next)) {
                    snapToEdge(image, next, next.x() - c.x());
                    edgePoints_.push_back(next);
                    for (const auto& hook : pointHooks) {
                        hook(*this, next);
                    }
                }
            }
            p.add(dx, dy);
            s.add(stopDx, stopDy);
        }
        if (edgePoints_.size() < 2) {
            return false;
        }
        const Line2D fitted = GeometryUtils::approximateLine(edgePoints_, kEps);
        Point2D t;
        Point2D b;
        if (!Line2D::intersect(fitted, top, t) || !Line2D::intersect(fitted, bottom, b) ||
            !isFinite(t) || !isFinite(b)) {
            return false;
        }
        lines.emplace_back(t, b);
        previous = current;
        current = {t, b};
        // Less than a column left before the stop pattern's wide bar.
        if (Point2D::distance(corners[2], t) < Point2D::distance(previous.first, t)) {
            break;
        }
    }
    for (const auto& hook : lineHooks) {
        if (!hook(*this, lines)) {
            return false;
        }
    }
    return true;
}

} // namespace pdf417
