#include "pdf417scan/locate/GridFitter.h"

#include <cmath>

namespace pdf417 {

namespace {

// Bar ends are sharper evidence than row boundaries found by halving.
constexpr float BAR_END_WEIGHT = 2.0f;

bool finite(const Point2D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

// The grid's outline must come out a convex quadrilateral, traversed the same
// way round at every corner.
bool plausible(const Homography& map, float width, float rows) {
    const Point2D c[4] = {map(0, 0), map(width, 0), map(width, rows), map(0, rows)};
    float sign = 0.0f;
    for (int i = 0; i < 4; ++i) {
        if (!finite(c[i])) {
            return false;
        }
        const Point2D& a = c[i];
        const Point2D& b = c[(i + 1) % 4];
        const Point2D& d = c[(i + 2) % 4];
        const float cross = (b.x() - a.x()) * (d.y() - b.y()) - (b.y() - a.y()) * (d.x() - b.x());
        if (cross == 0.0f || (sign != 0.0f && (cross > 0.0f) != (sign > 0.0f))) {
            return false;
        }
        sign = cross;
    }
    return true;
}

} // namespace

bool GridFitter::fit(const SymbolOutline& outline, const IndicatorReading& reading,
                     Homography& out) {
    from_.clear();
    to_.clear();
    const float rows = static_cast<float>(reading.rows);
    const float width = symbolWidth(reading.columns);
    const auto add = [&](float u, float v, const Point2D& at, float weight) {
        if (finite(at)) {
            from_.emplace_back(u, v, 1.0f);
            to_.emplace_back(at.x(), at.y(), weight);
        }
    };
    // A row boundary seen on both sides is a line across the symbol: where
    // it crosses the patterns' edges pins u on either side. A boundary seen
    // on one side only counts where it was seen.
    for (const RowBoundary& b : reading.boundaries) {
        const RowBoundary* partner = nullptr;
        for (const RowBoundary& other : reading.boundaries) {
            if (other.row == b.row && other.right != b.right) {
                partner = &other;
            }
        }
        const float v = static_cast<float>(b.row);
        if (partner == nullptr || !outline.hasStart || !outline.hasStop) {
            add(b.right ? IndicatorReader::rightCentre(reading.columns)
                        : IndicatorReader::leftCentre(),
                v, b.at, 1.0f);
            continue;
        }
        if (b.right) {
            continue; // taken with its partner
        }
        add(0.0f, v, outline.start.cross(b.at, partner->at, false), 1.0f);
        add(17.0f, v, outline.start.cross(b.at, partner->at, true), 1.0f);
        add(width - 18.0f, v, outline.stop.cross(b.at, partner->at, true), 1.0f);
        add(width, v, outline.stop.cross(b.at, partner->at, false), 1.0f);
    }
    // The provisional top is row 0's top edge unless the symbol lies upside
    // down; a bar end that left the frame says nothing.
    const float topV = reading.upsideDown ? rows : 0.0f;
    const float bottomV = reading.upsideDown ? 0.0f : rows;
    if (outline.hasStart) {
        if (!outline.startTopCut) {
            add(4.0f, topV, outline.startTop, BAR_END_WEIGHT);
        }
        if (!outline.startBottomCut) {
            add(4.0f, bottomV, outline.startBottom, BAR_END_WEIGHT);
        }
    }
    const float stopU = width - 14.5f;
    if (outline.hasStop) {
        if (!outline.stopTopCut) {
            add(stopU, topV, outline.stopTop, BAR_END_WEIGHT);
        }
        if (!outline.stopBottomCut) {
            add(stopU, bottomV, outline.stopBottom, BAR_END_WEIGHT);
        }
    }
    // Evidence from one side only pins no perspective across the symbol:
    // rows are then taken square to that side's edge.
    if (!(outline.hasStart && outline.hasStop)) {
        const EdgeLine& edge = outline.hasStart ? outline.start : outline.stop;
        const float sign = outline.hasStart ? 1.0f : -1.0f;
        const float d = 10.0f * edge.module;
        const std::size_t n = from_.size();
        for (std::size_t i = 0; i < n; ++i) {
            from_.emplace_back(from_[i].x() + sign * 10.0f, from_[i].y(), 1.0f);
            to_.emplace_back(to_[i].x() + d * edge.nx, to_[i].y() + d * edge.ny, to_[i].mass());
        }
    }
    Homography map;
    if (!Homography::fit(from_.data(), to_.data(), from_.size(), map) ||
        !plausible(map, width, rows)) {
        return false;
    }
    out = map;
    return true;
}

bool GridFitter::refit(const std::vector<Point2D>& from, const std::vector<Point2D>& to,
                       Homography& out) {
    Homography map;
    if (from.size() != to.size() || !Homography::fit(from.data(), to.data(), from.size(), map)) {
        return false;
    }
    out = map;
    return true;
}

} // namespace pdf417
