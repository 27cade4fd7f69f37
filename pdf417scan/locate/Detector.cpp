#include "pdf417scan/locate/Detector.h"

#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/RowUtils.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace pdf417 {

namespace {

// Tolerance of the line fits and of the "bar is horizontal" test.
constexpr float kEps = 0.0001f;
// A pattern edge needs this many row hits to be fitted.
constexpr std::size_t kMinPoints = 8;
// Rows of the scan are this far apart.
constexpr long long kRowStep = 3;
// Rows without a start pattern tolerated in one direction, and the shorter
// allowance after a row that showed the stop pattern.
constexpr int kStartBudget = 10;
constexpr int kStopBudget = 5;
// Margin beyond the start bar's ends, and the step of the single-sided walk.
constexpr float kMargin = 5.0f;
constexpr float kWalkStep = 5.0f;
// Niblack settings: rows in eight blocks leaning dark, bars in one block
// leaning light.
constexpr float kRowK = -0.4f;
constexpr float kBarK = 0.15f;
constexpr unsigned char kThreshold = 127;

constexpr float kStartWidths[8] = {8, 1, 1, 1, 1, 1, 1, 3};
constexpr float kStopWidths[9] = {7, 1, 1, 3, 1, 1, 1, 2, 1};

std::uint32_t magnitude(short run) {
    return static_cast<std::uint32_t>(std::abs(int{run}));
}

// Within one module of its nominal width c, m being the module width.
bool fits(float m, float c, short run) {
    return m >= std::fabs(c * m - static_cast<float>(magnitude(run)));
}

bool isFinite(const Point2D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

// Signed distance-like value of p from a unit-normal line.
float residual(const Line2D& line, const Point2D& p) {
    return line.A() * p.x() + line.B() * p.y() + line.C();
}

} // namespace

bool Detector::findStartPattern(const std::vector<short>& runs, Match& match) {
    if (runs.size() < 8) {
        return false;
    }
    std::uint32_t pos = 0;
    for (std::size_t i = 0;; ++i) {
        if (i + 8 >= runs.size()) {
            return false;
        }
        if (runs[i] <= -8) {
            const std::uint32_t bar = magnitude(runs[i]);
            const float m = static_cast<float>(bar) / kStartWidths[0];
            std::uint32_t total = bar;
            bool ok = true;
            for (std::size_t j = 1; j < 8 && ok; ++j) {
                ok = fits(m, kStartWidths[j], runs[i + j]);
                total += magnitude(runs[i + j]);
            }
            if (ok) {
                match = {pos, pos + bar / 2, pos + total - 1};
                return true;
            }
        }
        pos += magnitude(runs[i]);
    }
}

bool Detector::findStopPattern(const std::vector<short>& runs, Match& match) {
    if (runs.size() < 9) {
        return false;
    }
    std::size_t k = runs.size() - 9;
    std::uint32_t distance = 0;
    for (std::size_t j = k; j < runs.size(); ++j) {
        distance += magnitude(runs[j]);
    }
    for (;;) {
        // The run at index 0 is never a stop bar: something must precede it.
        if (k == 0) {
            return false;
        }
        if (runs[k] <= -7) {
            const std::uint32_t bar = magnitude(runs[k]);
            const float m = static_cast<float>(bar) / kStopWidths[0];
            std::uint32_t total = bar;
            bool ok = true;
            for (std::size_t j = 1; j < 9 && ok; ++j) {
                ok = fits(m, kStopWidths[j], runs[k + j]);
                total += magnitude(runs[k + j]);
            }
            if (ok) {
                match = {distance, distance - bar / 2, distance - total};
                return true;
            }
        }
        distance += magnitude(runs[k - 1]);
        --k;
    }
}

void Detector::squeezeLine(int dir) {
    binarizator_.binarize(samples_, binarized_, static_cast<unsigned>(samples_.size() / 8), kRowK);
    RowUtils::squeeze(binarized_, runs_, kThreshold);
    if (dir < 0) {
        RowUtils::reverse(runs_);
    }
}

int Detector::detectScanLine(const IImage& image, std::array<Point2D, 3>& points) {
    const unsigned half = image.height() / 2;
    for (unsigned offset = 0; offset < half; offset += kRowStep) {
        // At offset 0 the middle row is looked at twice; harmless and cheap.
        const unsigned rows[2] = {half + offset, half - offset};
        for (const unsigned row : rows) {
            if (!image.sampleRow(row, samples_)) {
                continue;
            }
            squeezeLine(1);
            Match match{};
            if (findStartPattern(runs_, match)) {
                for (std::size_t i = 0; i < 3; ++i) {
                    points[i] =
                        Point2D(static_cast<float>(match[i]), static_cast<float>(row), 1.0f);
                }
                return 1;
            }
            RowUtils::reverse(runs_);
            if (findStartPattern(runs_, match)) {
                const float last = static_cast<float>(samples_.size() - 1);
                for (std::size_t i = 0; i < 3; ++i) {
                    points[i] =
                        Point2D(last - static_cast<float>(match[i]), static_cast<float>(row), 1.0f);
                }
                return -1;
            }
        }
    }
    return 0;
}

void Detector::filterPoints(std::vector<Point2D>& points) {
    if (points.empty()) {
        return;
    }
    const Point2D mean = GeometryUtils::calculateMean(points);
    Line2D line(1.0f, 0.0f, -mean.x());
    // A pass that removes nothing leaves every point at the same distance;
    // two such passes in a row are a fixed point that would loop for ever.
    int idlePasses = 0;
    while (points.size() >= 9) {
        float squares = 0.0f;
        for (const Point2D& p : points) {
            const float r = residual(line, p);
            squares += r * r;
        }
        const float sigma = std::sqrt(squares / static_cast<float>(points.size()));
        for (Point2D& p : points) {
            const float d = std::fabs(residual(line, p));
            const float denominator = sigma + d * d;
            // All points exactly on the line (sigma 0) weigh fully, not 0/0.
            p.setMass(denominator > 0.0f ? sigma / denominator : 1.0f);
        }
        if (sigma < 2.0f) {
            break;
        }
        const float keep = 1.0f / (1.0f + sigma);
        const std::size_t before = points.size();
        points.erase(std::remove_if(points.begin(), points.end(),
                                    [keep](const Point2D& p) { return p.mass() < keep; }),
                     points.end());
        if (points.size() == before) {
            if (++idlePasses == 2) {
                break;
            }
        } else {
            idlePasses = 0;
        }
        line = GeometryUtils::approximateLine(points, kEps);
    }
}

bool Detector::findBarEnds(const IImage& image, const std::vector<Point2D>& center,
                           const Line2D& line, Point2D& top, Point2D& bottom) {
    const float width = static_cast<float>(image.width());
    const float height = static_cast<float>(image.height());
    const Point2D c = GeometryUtils::calculateCenterOfMass(center);
    Point2D t(line.X(0.0f), 0.0f, 1.0f);
    Point2D b(line.X(height), height, 1.0f);
    const Point2D m(line.X(c.y()), c.y(), 1.0f);
    if (!GeometryUtils::boundLine(t, b, width, height)) {
        return false;
    }
    // From the centroid along the bar until the first light sample each way.
    image.sampleLine(m, t, samples_);
    binarizator_.binarize(samples_, binarized_, 0, kBarK);
    const float up = static_cast<float>(RowUtils::findWhite(binarized_, kThreshold));
    top = Point2D(line.X(m.y() - up), m.y() - up, 1.0f);
    image.sampleLine(m, b, samples_);
    binarizator_.binarize(samples_, binarized_, 0, kBarK);
    const float down = static_cast<float>(RowUtils::findWhite(binarized_, kThreshold));
    bottom = Point2D(line.X(m.y() + down), m.y() + down, 1.0f);
    return isFinite(top) && isFinite(bottom);
}

Point2D Detector::walkEdge(const IImage& image, const Line2D& far, const Point2D& anchor,
                           float limitY, float step) {
    const float height = static_cast<float>(image.height());
    float y = anchor.y();
    Point2D f(far.X(y), y, 1.0f);
    image.sampleLine(anchor, f, samples_);
    const float sd0 = RowUtils::calculateStandardDeviation(samples_);
    float deviation = sd0;
    // Never more steps than it takes to cross the image, whatever the values.
    std::uint64_t stepsLeft = static_cast<std::uint64_t>(image.height()) / 5 + 2;
    while (deviation > sd0 / 3.0f && stepsLeft-- > 0) {
        if (step < 0.0f ? !(y > kWalkStep) : !(y < height)) {
            break;
        }
        const float next = y + step;
        if (step < 0.0f ? next < limitY : next > limitY) {
            break;
        }
        y = next;
        f = Point2D(far.X(y), y, 1.0f);
        image.sampleLine(anchor, f, samples_);
        deviation = RowUtils::calculateStandardDeviation(samples_);
    }
    return f;
}

bool Detector::estimateEdgesFromStart(const IImage& image, const Line2D& bar, const Point2D& pTop,
                                      const Point2D& pBottom, const Line2D& outerLine,
                                      const Line2D& innerLine, Line2D& topLine,
                                      Line2D& bottomLine) {
    const float width = static_cast<float>(image.width());
    const float height = static_cast<float>(image.height());
    const Point2D mid = Point2D::middle(pTop, pBottom);
    const Line2D across(-bar.B(), bar.A(), bar.B() * mid.x() - bar.A() * mid.y());
    Point2D i1;
    Point2D i2;
    if (!Line2D::intersect(across, outerLine, i1) || !Line2D::intersect(across, innerLine, i2)) {
        return false;
    }
    // Five start-pattern widths from the outer edge into the symbol.
    const float ex = i1.x() + 5.0f * (i2.x() - i1.x());
    const float ey = i1.y() + 5.0f * (i2.y() - i1.y());
    if (!std::isfinite(ex) || !std::isfinite(ey) || ex < 0.0f || ex > width || ey < 0.0f ||
        ey > height) {
        return false;
    }
    const Line2D far(bar.A(), bar.B(), -bar.A() * ex - bar.B() * ey);

    // The walk turns an edge line about the bar's end until it clears the
    // symbol. An undistorted symbol's edge is square to its bars, so the walk
    // goes at most one step past the square through the bar's end: on a
    // noisy but empty margin the deviation never drops and it would
    // otherwise climb to the image border.
    const auto squareLimit = [&](const Point2D& anchor, float step) {
        const Line2D square(-bar.B(), bar.A(), bar.B() * anchor.x() - bar.A() * anchor.y());
        Point2D p;
        if (!Line2D::intersect(square, far, p) || !std::isfinite(p.y())) {
            return step < 0.0f ? -std::numeric_limits<float>::infinity()
                               : std::numeric_limits<float>::infinity();
        }
        return p.y() + step;
    };
    const Point2D fTop = walkEdge(image, far, pTop, squareLimit(pTop, -kWalkStep), -kWalkStep);
    topLine = Line2D(pTop.x(), pTop.y(), fTop.x(), fTop.y() - kMargin);
    const Point2D fBottom =
        walkEdge(image, far, pBottom, squareLimit(pBottom, kWalkStep), kWalkStep);
    bottomLine = Line2D(pBottom.x(), pBottom.y(), fBottom.x(), fBottom.y() + kMargin);
    return true;
}

bool Detector::detect(const IImage& image, std::array<Point2D, 6>& corners) {
    if (image.isEmpty()) {
        return false;
    }
    std::array<Point2D, 3> scan;
    const int dir = detectScanLine(image, scan);
    if (dir == 0) {
        return false;
    }
    const float width = static_cast<float>(image.width());
    const float height = static_cast<float>(image.height());
    if (!(scan[0].y() >= 0.0f && scan[0].y() < height)) {
        return false;
    }
    const long long base = std::lroundf(scan[0].y());

    startOuter_.clear();
    startCenter_.clear();
    startInner_.clear();
    stopInner_.clear();
    stopCenter_.clear();
    stopOuter_.clear();
    startOuter_.push_back(scan[0]);
    startCenter_.push_back(scan[1]);
    startInner_.push_back(scan[2]);

    // Rows alternate by the parity of the offset: below the scan row
    // base+3, base+9, ..., above it base-6, base-12, ...; each direction gives
    // up after a run of rows without a start pattern.
    const long long rows = image.height();
    int below = kStartBudget;
    int above = kStartBudget;
    for (long long offset = kRowStep; below > 0 || above > 0; offset += kRowStep) {
        const bool down = (offset & 1) != 0;
        const long long row = down ? base + offset : base - offset;
        int& budget = down ? below : above;
        if (budget > 0) {
            --budget;
        }
        if (row < 0 || row >= rows || budget < 1) {
            continue;
        }
        if (!image.sampleRow(static_cast<unsigned>(row), samples_)) {
            continue;
        }
        const auto n = static_cast<std::uint32_t>(samples_.size());
        squeezeLine(dir);
        const float y = static_cast<float>(row);

        Match match{};
        if (findStartPattern(runs_, match)) {
            std::vector<Point2D>* lists[3] = {&startOuter_, &startCenter_, &startInner_};
            for (std::size_t i = 0; i < 3; ++i) {
                const std::uint32_t x = dir > 0 ? match[i] : n - match[i] - 1;
                lists[i]->emplace_back(static_cast<float>(x), y, 1.0f);
                for (const auto& observe : pointObservers) {
                    observe(*this, lists[i]->back());
                }
            }
            budget = kStartBudget;
        }
        match = Match{};
        if (findStopPattern(runs_, match)) {
            std::vector<Point2D>* lists[3] = {&stopInner_, &stopCenter_, &stopOuter_};
            for (std::size_t i = 0; i < 3; ++i) {
                const std::uint32_t x = dir > 0 ? n - match[i] - 1 : match[i];
                lists[i]->emplace_back(static_cast<float>(x), y, 1.0f);
                for (const auto& observe : pointObservers) {
                    observe(*this, lists[i]->back());
                }
            }
            // Comes after the start pattern's reset on purpose: a row with
            // both patterns leaves the shorter allowance.
            budget = kStopBudget;
        }
    }

    const auto enoughStart = [this] {
        return startOuter_.size() >= kMinPoints && startInner_.size() >= kMinPoints &&
               startCenter_.size() >= kMinPoints;
    };
    if (!enoughStart()) {
        return false;
    }
    filterPoints(startOuter_);
    filterPoints(startCenter_);
    filterPoints(startInner_);
    if (!enoughStart()) {
        return false;
    }

    // The start bar's ends, with a margin beyond them.
    const Line2D bar = GeometryUtils::approximateLine(startCenter_, kEps);
    if (!(std::fabs(bar.A()) >= kEps)) {
        return false;
    }
    Point2D barTop;
    Point2D barBottom;
    if (!findBarEnds(image, startCenter_, bar, barTop, barBottom)) {
        return false;
    }
    const Point2D pTop(barTop.x(), barTop.y() - kMargin, 1.0f);
    const Point2D pBottom(barBottom.x(), barBottom.y() + kMargin, 1.0f);

    const Line2D outerLine = GeometryUtils::approximateLine(startOuter_, kEps);
    const Line2D innerLine = GeometryUtils::approximateLine(startInner_, kEps);

    // Stop hits on the start pattern's outer side of its edge belong to
    // something else; points on the edge itself go too.
    const auto outside = [&outerLine, dir](const Point2D& p) {
        const float edge = outerLine.X(p.y());
        return dir > 0 ? p.x() <= edge : p.x() >= edge;
    };
    stopInner_.erase(std::remove_if(stopInner_.begin(), stopInner_.end(), outside),
                     stopInner_.end());
    stopCenter_.erase(std::remove_if(stopCenter_.begin(), stopCenter_.end(), outside),
                      stopCenter_.end());
    filterPoints(stopInner_);
    filterPoints(stopCenter_);

    Line2D topLine(0.0f, 1.0f, 0.0f);
    Line2D bottomLine(0.0f, 1.0f, 0.0f);
    bool haveEdges = false;
    if (stopInner_.size() >= kMinPoints && stopCenter_.size() >= kMinPoints) {
        const Line2D stopBar = GeometryUtils::approximateLine(stopCenter_, kEps);
        Point2D qTop;
        Point2D qBottom;
        if (std::fabs(stopBar.A()) > kEps &&
            findBarEnds(image, stopCenter_, stopBar, qTop, qBottom)) {
            topLine = Line2D(pTop, qTop);
            bottomLine = Line2D(pBottom, qBottom);
            haveEdges = true;
        }
    }
    if (!haveEdges && !estimateEdgesFromStart(image, bar, pTop, pBottom, outerLine, innerLine,
                                              topLine, bottomLine)) {
        return false;
    }

    const Line2D& first = dir > 0 ? topLine : bottomLine;
    const Line2D& last = dir > 0 ? bottomLine : topLine;
    corners.fill(Point2D());
    if (!Line2D::intersect(outerLine, first, corners[0]) ||
        !Line2D::intersect(innerLine, first, corners[1]) ||
        !Line2D::intersect(outerLine, last, corners[3]) ||
        !Line2D::intersect(innerLine, last, corners[4])) {
        return false;
    }
    if (stopCenter_.size() < kMinPoints) {
        // No stop pattern: assume the symbol runs to the image border.
        const float x = dir > 0 ? width - 1.0f : 0.0f;
        corners[2] = Point2D(x, first.Y(x), 1.0f);
        corners[5] = Point2D(x, last.Y(x), 1.0f);
    } else {
        const Line2D stopBar = GeometryUtils::approximateLine(stopCenter_, kEps);
        if (!Line2D::intersect(stopBar, first, corners[2]) ||
            !Line2D::intersect(stopBar, last, corners[5])) {
            return false;
        }
    }

    for (const std::size_t i : {0u, 1u, 3u, 4u}) {
        if (!GeometryUtils::testPoint(0.0f, 0.0f, width - 1.0f, height - 1.0f, corners[i])) {
            return false;
        }
    }
    // Pulls the far corners towards the image; the one-smaller size is kept
    // as it is, and a refusal leaves them where they were.
    GeometryUtils::boundLine(corners[0], corners[2], width - 1.0f, height - 1.0f);
    GeometryUtils::boundLine(corners[3], corners[5], width - 1.0f, height - 1.0f);
    for (const Point2D& corner : corners) {
        if (!isFinite(corner)) {
            return false;
        }
    }

    for (const auto& check : resultChecks) {
        if (!check(*this, corners)) {
            return false;
        }
    }
    return true;
}

} // namespace pdf417
