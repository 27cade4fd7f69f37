#include "pdf417scan/imaging/GeometryUtils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using GeometryUtils::approximateLine;
using GeometryUtils::boundLine;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

void expectLine(const Line2D& l, float a, float b, float c) {
    EXPECT_EQ(l.A(), a);
    EXPECT_EQ(l.B(), b);
    EXPECT_EQ(l.C(), c);
    EXPECT_EQ(std::signbit(l.C()), std::signbit(c));
}

TEST(GeometryUtils, ApproximateLineSpecialCases) {
    const float k = 0.70710677f;
    expectLine(approximateLine({}, 0.01f), 1, 0, 0);
    expectLine(approximateLine({Point2D(3, 4, 2)}, 0.01f), 1, 0, 0);
    expectLine(approximateLine({Point2D(0, 0, 1), Point2D(10, 0, 1)}, 0.01f), 0, 1, -0.0f);
    expectLine(approximateLine({Point2D(0, 0, 1), Point2D(0, 10, 1)}, 0.01f), 1, 0, -0.0f);
    expectLine(approximateLine({Point2D(0, 0, 1), Point2D(10, 10, 1)}, 0.01f), k, -k, -0.0f);
    expectLine(approximateLine({Point2D(0, 10, 1), Point2D(10, 0, 1)}, 0.01f), k, k, -k * 10);
}

// Noisy, weighted points along a line at a random angle: the fit recovers the
// line, and its normal is the minor principal axis computed in double.
TEST(GeometryUtils, ApproximateLineRecoversNoisyLinesAtAnyAngle) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> angle(-3.14159265f, 3.14159265f);
    std::uniform_real_distribution<float> along(-150, 150);
    std::uniform_real_distribution<float> mass(0.2f, 3.0f);
    std::normal_distribution<float> noise(0, 0.5f);
    for (int trial = 0; trial < 500; ++trial) {
        const float theta = angle(rng); // direction of the line
        const float cx = 100 + along(rng);
        const float cy = 100 + along(rng);
        const float ux = std::cos(theta), uy = std::sin(theta);
        std::vector<Point2D> points;
        for (int i = 0; i < 40; ++i) {
            const float t = along(rng);
            const float n = noise(rng);
            points.emplace_back(cx + t * ux - n * uy, cy + t * uy + n * ux, mass(rng));
        }
        const Line2D l = approximateLine(points, 0.0001f);
        ASSERT_NEAR(l.A() * l.A() + l.B() * l.B(), 1.0f, 1e-5f);
        ASSERT_GT(std::fabs(l.A() * -uy + l.B() * ux), 0.999f) << "theta " << theta;
        ASSERT_LT(std::fabs(l.A() * cx + l.B() * cy + l.C()), 0.5f) << "theta " << theta;

        double sm = 0, sx = 0, sy = 0;
        for (const Point2D& p : points) {
            sm += p.mass();
            sx += double(p.mass()) * p.x();
            sy += double(p.mass()) * p.y();
        }
        double sxx = 0, syy = 0, sxy = 0;
        for (const Point2D& p : points) {
            const double dx = p.x() - sx / sm, dy = p.y() - sy / sm;
            sxx += p.mass() * dx * dx;
            syy += p.mass() * dy * dy;
            sxy += p.mass() * dx * dy;
        }
        const double major = 0.5 * std::atan2(2 * sxy, sxx - syy);
        ASSERT_NEAR(std::fabs(l.A() * std::cos(major) + l.B() * std::sin(major)), 0, 1e-4);
    }
}

TEST(GeometryUtils, CentroidsAndBoxes) {
    const std::vector<Point2D> points = {Point2D(0, 0, 1), Point2D(4, 8, 3)};
    const Point2D c = GeometryUtils::calculateCenterOfMass(points);
    EXPECT_TRUE(c.x() == 3 && c.y() == 6 && c.mass() == 4);
    const Point2D m = GeometryUtils::calculateMean(points);
    EXPECT_TRUE(m.x() == 2 && m.y() == 4 && m.mass() == 1);
    for (const Point2D& e :
         {GeometryUtils::calculateCenterOfMass({}), GeometryUtils::calculateMean({})}) {
        EXPECT_TRUE(e.x() == 0 && e.y() == 0 && e.mass() == 0);
    }

    // testPoint: a closed box, corners in either order, NaN never inside.
    struct Case {
        float x1, y1, x2, y2, px, py;
        bool inside;
    };
    const Case cases[] = {{0, 0, 10, 5, 10, 5, true},      {10, 5, 0, 0, 10, 5, true},
                          {10, 0, 0, 5, 0, 0, true},       {0, 0, 10, 5, 10.01f, 5, false},
                          {10, 5, 0, 0, 5, -0.01f, false}, {0, 0, 10, 5, kNan, 1, false},
                          {kNan, 0, 10, 5, 1, 1, false},   {3, 3, 3, 3, 3, 3, true},
                          {0, 0, 10, 5, 1, kNan, false},   {0, 0, 10, 5, kInf, 1, false}};
    for (const Case& t : cases) {
        EXPECT_EQ(GeometryUtils::testPoint(t.x1, t.y1, t.x2, t.y2, Point2D(t.px, t.py, 1)),
                  t.inside)
            << t.x1 << "," << t.y1 << " " << t.x2 << "," << t.y2 << " " << t.px << "," << t.py;
    }
}

TEST(GeometryUtils, BoundLineExamplesAndNonFiniteInput) {
    Point2D p(10, 20, 3), q(90.5f, 99.9f, 4);
    ASSERT_TRUE(boundLine(p, q, 100, 100)); // inside: untouched
    EXPECT_TRUE(p.x() == 10 && q.y() == 99.9f);
    p = Point2D(-10, 5, 3);
    q = Point2D(-1, 50, 4);
    EXPECT_FALSE(boundLine(p, q, 100, 100));
    EXPECT_EQ(p.x(), -10);
    q = Point2D(50, 5, 4);
    ASSERT_TRUE(boundLine(p, q, 100, 100));
    EXPECT_TRUE(p.x() == 0 && p.y() == 5 && p.mass() == 3 && q.x() == 50);
    // The clamp targets are the last column and row.
    p = Point2D(50, 50, 1);
    q = Point2D(50, 150, 1);
    ASSERT_TRUE(boundLine(p, q, 100, 100));
    EXPECT_EQ(q.y(), 99);

    for (float bad : {kNan, kInf, -kInf}) {
        for (int which = 0; which < 6; ++which) {
            float c[6] = {10, 20, 150, 40, 100, 100};
            c[which] = bad;
            Point2D a(c[0], c[1], 1), b(c[2], c[3], 1);
            if (which >= 4 && bad == kInf) {
                continue; // an unbounded rectangle is a rectangle
            }
            EXPECT_FALSE(boundLine(a, b, c[4], c[5])) << bad << " at " << which;
            EXPECT_EQ(std::isnan(a.x()), which == 0 && std::isnan(bad)); // untouched
        }
    }
}

// Random segments, some far outside: whatever is clipped lies in the image
// and on the original line.
TEST(GeometryUtils, BoundLineStaysInsideAndOnTheLine) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> size(1, 400);
    std::uniform_real_distribution<float> spread(-2, 3);
    int clipped = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        const float w = std::floor(size(rng));
        const float h = std::floor(size(rng));
        const float scale = trial % 100 == 0 ? 1e8f : 1.0f;
        Point2D p(w * spread(rng) * scale, h * spread(rng), 1);
        Point2D q(w * spread(rng), h * spread(rng) * scale, 1);
        const Line2D before(p, q);
        const Point2D p0 = p, q0 = q;
        if (!boundLine(p, q, w, h)) {
            ASSERT_EQ(p.x(), p0.x());
            ASSERT_EQ(q.y(), q0.y());
            continue;
        }
        ++clipped;
        for (const Point2D& e : {p, q}) {
            ASSERT_TRUE(e.x() >= 0 && e.x() < w && e.y() >= 0 && e.y() < h)
                << e.x() << "," << e.y() << " in " << w << "x" << h;
        }
        const float norm = std::hypot(before.A(), before.B());
        if (scale == 1.0f) {
            for (const Point2D& e : {p, q}) {
                const float residual = before.A() * e.x() + before.B() * e.y() + before.C();
                ASSERT_LT(std::fabs(residual) / norm, 0.01f);
            }
        }
    }
    EXPECT_GT(clipped, 5000);
}

TEST(GeometryUtils, ScanRegionWalksInStepWithoutTheEnds) {
    const auto a = std::make_pair(Point2D(0, 0, 2), Point2D(10, 20, 1));
    const auto b = std::make_pair(Point2D(100, 0, 3), Point2D(100, -40, 1));
    for (const unsigned long steps : {0ul, 1ul, 4ul}) {
        std::vector<std::pair<Point2D, Point2D>> seen;
        GeometryUtils::scanRegion(a, b, steps, [&](const Point2D& p, const Point2D& q) {
            seen.emplace_back(p, q);
            return true;
        });
        ASSERT_EQ(seen.size(), steps);
        for (std::size_t i = 0; i < steps; ++i) {
            const float t = static_cast<float>(i) / static_cast<float>(steps);
            EXPECT_FLOAT_EQ(seen[i].first.x(), 10 * t);
            EXPECT_FLOAT_EQ(seen[i].first.y(), 20 * t);
            EXPECT_FLOAT_EQ(seen[i].second.x(), 100);
            EXPECT_FLOAT_EQ(seen[i].second.y(), -40 * t);
            EXPECT_TRUE(seen[i].first.mass() == 2 && seen[i].second.mass() == 3);
        }
    }
    int calls = 0;
    GeometryUtils::scanRegion(a, b, 100,
                              [&](const Point2D&, const Point2D&) { return ++calls < 3; });
    EXPECT_EQ(calls, 3);
}

} // namespace
} // namespace pdf417
