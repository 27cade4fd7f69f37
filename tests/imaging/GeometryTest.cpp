// Points, lines, geometry helpers and projective maps against independent sums.
#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/Homography.h"
#include "tests/support/Homography.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

namespace pdf417::test {
namespace {

using GeometryUtils::approximateLine;
using GeometryUtils::boundLine;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(Point2D, MiddleAndDistanceAgainstDouble) {
    std::mt19937 rng(2);
    std::uniform_real_distribution<float> coord(-1000, 1000);
    for (int trial = 0; trial < 200; ++trial) {
        const Point2D a(coord(rng), coord(rng), 5), b(coord(rng), coord(rng), 7);
        const Point2D m = Point2D::middle(a, b);
        EXPECT_FLOAT_EQ(Point2D::distance(a, b),
                        float(std::hypot(double(b.x()) - a.x(), double(b.y()) - a.y())));
        EXPECT_FLOAT_EQ(m.x(), float((double(a.x()) + b.x()) / 2));
        EXPECT_FLOAT_EQ(m.y(), float((double(a.y()) + b.y()) / 2));
        EXPECT_EQ(m.mass(), 1.0f);
    }
}

TEST(Line2D, SpecialCases) {
    const Line2D none(Point2D(1, 2, 1), Point2D(1, 2, 7));
    EXPECT_TRUE(none.A() == 0 && none.B() == 0 && none.C() == 0);
    const Line2D pq(1, 2, 4, -3);
    EXPECT_FLOAT_EQ(pq.Y(1), 2);
    EXPECT_FLOAT_EQ(pq.X(-3), 4);
    Line2D n(3, 4, 10);
    n.normalize();
    EXPECT_TRUE(n.A() == 0.6f && n.B() == 0.8f && n.C() == 2.0f);

    Point2D out(7, 7, 5);
    ASSERT_TRUE(Line2D::intersect(Line2D(1, 0, 0), Line2D(0, 1, 0), out));
    EXPECT_TRUE(out.x() == 0 && out.y() == 0 && out.mass() == 5);
    // Parallel: slanted ones meet at infinity, axis-parallel ones give NaN.
    ASSERT_TRUE(Line2D::intersect(Line2D(1, 1, 0), Line2D(1, 1, -5), out));
    EXPECT_TRUE(out.x() == kInf && out.y() == -kInf);
    out = Point2D(7, 7, 5);
    EXPECT_FALSE(Line2D::intersect(Line2D(1, 0, 0), Line2D(1, 0, -5), out));
    EXPECT_FALSE(Line2D::intersect(Line2D(2, 3, 1), Line2D(2, 3, 1), out));
    EXPECT_FALSE(Line2D::intersect(Line2D(0, 0, 0), Line2D(0, 1, 0), out));
    // Non-finite coefficients are refused, out left alone.
    for (int which = 0; which < 18; ++which) {
        float c[6] = {2, 1, 0, 0, 1, 3};
        c[which % 6] = which < 6 ? kNan : which < 12 ? kInf : -kInf;
        EXPECT_FALSE(Line2D::intersect(Line2D(c[0], c[1], c[2]), Line2D(c[3], c[4], c[5]), out));
    }
    EXPECT_TRUE(out.x() == 7 && out.y() == 7);
}

// Lines through a known point, by either constructor, meet there whichever
// comes first, within the float rounding of C = x1·y2 - x2·y1.
TEST(Line2D, LinesThroughAPointMeetThere) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> coord(-500, 500);
    std::uniform_real_distribution<float> angle(0, 3.14159265f);
    for (int trial = 0; trial < 5000; ++trial) {
        const float px = coord(rng), py = coord(rng), a1 = angle(rng), a2 = angle(rng);
        const float sine = std::fabs(std::sin(a1 - a2)), len = 1 + std::fabs(coord(rng));
        const Line2D l1(Point2D(px, py, 1),
                        Point2D(px + len * std::cos(a1), py + len * std::sin(a1), 1));
        const Line2D l2(px - std::cos(a2), py - std::sin(a2), px + std::cos(a2), py + std::sin(a2));
        const float tolerance = 1e-4f * (std::fabs(px) + std::fabs(py) + len) / sine;
        for (bool swap : {false, true}) {
            Point2D out;
            ASSERT_TRUE(sine < 0.05f || Line2D::intersect(swap ? l2 : l1, swap ? l1 : l2, out));
            ASSERT_TRUE(sine < 0.05f || (std::fabs(out.x() - px) < tolerance &&
                                         std::fabs(out.y() - py) < tolerance))
                << trial;
        }
    }
}

TEST(GeometryUtils, ApproximateLineSpecialCases) {
    const float k = 0.70710677f;
    const std::tuple<std::vector<Point2D>, float, float, float> cases[] = {
        {{}, 1, 0, 0},
        {{Point2D(3, 4, 2)}, 1, 0, 0},
        {{Point2D(0, 0, 1), Point2D(10, 0, 1)}, 0, 1, -0.0f},
        {{Point2D(0, 0, 1), Point2D(0, 10, 1)}, 1, 0, -0.0f},
        {{Point2D(0, 0, 1), Point2D(10, 10, 1)}, k, -k, -0.0f},
        {{Point2D(0, 10, 1), Point2D(10, 0, 1)}, k, k, -k * 10},
    };
    for (const auto& [points, a, b, c] : cases) {
        const Line2D l = approximateLine(points, 0.01f);
        EXPECT_TRUE(l.A() == a && l.B() == b && l.C() == c) << points.size();
        EXPECT_EQ(std::signbit(l.C()), std::signbit(c));
    }
}

// Noisy, weighted points along lines at any angle.
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
        // The normal is the minor principal axis, and the line passes
        // through the weighted centroid, both computed in double.
        double sm = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
        for (const Point2D& p : points) {
            sm += p.mass();
            sx += double(p.mass()) * p.x();
            sy += double(p.mass()) * p.y();
        }
        for (const Point2D& p : points) {
            const double dx = p.x() - sx / sm, dy = p.y() - sy / sm;
            sxx += p.mass() * dx * dx;
            syy += p.mass() * dy * dy;
            sxy += p.mass() * dx * dy;
        }
        const double major = 0.5 * std::atan2(2 * sxy, sxx - syy);
        ASSERT_NEAR(l.A() * l.A() + l.B() * l.B(), 1.0f, 1e-5f);
        ASSERT_NEAR(l.A() * std::cos(major) + l.B() * std::sin(major), 0, 1e-4) << theta;
        ASSERT_NEAR(l.A() * sx / sm + l.B() * sy / sm + l.C(), 0, 1e-3) << theta;
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
    // Both ends inside: untouched; both left: refused, untouched; one end
    // out: clipped onto the last column or row, masses kept.
    struct Case {
        float x1, y1, x2, y2;
        bool ok;
        float cx1, cy1, cx2, cy2;
    };
    const Case cases[] = {{10, 20, 90.5f, 99.9f, true, 10, 20, 90.5f, 99.9f},
                          {-10, 5, -1, 50, false, -10, 5, -1, 50},
                          {-10, 5, 50, 5, true, 0, 5, 50, 5},
                          {50, 50, 50, 150, true, 50, 50, 50, 99}};
    for (const Case& c : cases) {
        Point2D p(c.x1, c.y1, 3), q(c.x2, c.y2, 4);
        EXPECT_EQ(boundLine(p, q, 100, 100), c.ok);
        EXPECT_TRUE(p.x() == c.cx1 && p.y() == c.cy1 && q.x() == c.cx2 && q.y() == c.cy2);
        EXPECT_TRUE(p.mass() == 3 && q.mass() == 4);
    }
    for (int which = 0; which < 18; ++which) {
        float c[6] = {10, 20, 150, 40, 100, 100};
        const float bad = which < 6 ? kNan : which < 12 ? kInf : -kInf;
        c[which % 6] = bad;
        if (which % 6 >= 4 && bad == kInf) {
            continue; // an unbounded rectangle is a rectangle
        }
        Point2D a(c[0], c[1], 1), b(c[2], c[3], 1);
        EXPECT_FALSE(boundLine(a, b, c[4], c[5])) << bad << " at " << which % 6;
        EXPECT_EQ(std::isnan(a.x()), which == 0); // untouched
    }
}

// Random segments, some far outside, clip into the image and onto the line.
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
            ASSERT_TRUE(p.x() == p0.x() && q.y() == q0.y());
            continue;
        }
        ++clipped;
        const float norm = std::hypot(before.A(), before.B());
        for (const Point2D& e : {p, q}) {
            ASSERT_TRUE(e.x() >= 0 && e.x() < w && e.y() >= 0 && e.y() < h)
                << e.x() << "," << e.y() << " in " << w << "x" << h;
            const float residual = before.A() * e.x() + before.B() * e.y() + before.C();
            ASSERT_TRUE(scale != 1.0f || std::fabs(residual) / norm < 0.01f);
        }
    }
    EXPECT_GT(clipped, 5000);
}

// The two segments in lock-step, from their first points, never reaching the
// ends; a callback's false stops the walk.
TEST(GeometryUtils, ScanRegionWalksInStepWithoutTheEnds) {
    const auto a = std::make_pair(Point2D(0, 0, 2), Point2D(10, 20, 1));
    const auto b = std::make_pair(Point2D(100, 0, 3), Point2D(100, -40, 1));
    for (const unsigned long steps : {0ul, 1ul, 4ul, 100ul}) {
        float t = 0;
        unsigned long calls = 0;
        GeometryUtils::scanRegion(a, b, steps, [&](const Point2D& p, const Point2D& q) {
            t = static_cast<float>(calls++) / static_cast<float>(steps);
            EXPECT_TRUE(p.mass() == 2 && q.mass() == 3 && q.x() == 100);
            EXPECT_NEAR(p.x(), 10 * t, 1e-4);
            EXPECT_NEAR(p.y() - q.y() / 2, 40 * t, 1e-4);
            return calls < 7;
        });
        EXPECT_EQ(calls, std::min(steps, 7ul));
    }
}

// Fitted projective maps against the renderer's own closed-form maps.
TEST(HomographyFit, RecoversRandomPerspectiveMaps) {
    // A map never fitted is the identity.
    const Point2D same = pdf417::Homography()(12.5, -3.25);
    EXPECT_EQ(same.x(), 12.5f);
    EXPECT_EQ(same.y(), -3.25f);
    std::mt19937 rng(8);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 200; ++trial) {
        // A symbol-sized rectangle onto a convex quadrilateral of a big frame.
        const double w = 100 + 300 * unit(rng);
        const double h = 10 + 60 * unit(rng);
        const double cx = 200 + 3000 * unit(rng);
        const double cy = 200 + 2000 * unit(rng);
        const double s = 1 + 4 * unit(rng);
        const std::array<Vec2, 4> quad = {
            Vec2{cx - w * s * (0.5 + 0.2 * unit(rng)), cy - h * s},
            Vec2{cx + w * s * (0.5 + 0.2 * unit(rng)), cy - h * s * unit(rng)},
            Vec2{cx + w * s * 0.5, cy + h * s * (0.3 + unit(rng))},
            Vec2{cx - w * s * 0.5, cy + h * s}};
        const test::Homography truth = test::Homography::rectToQuad(w, h, quad);
        std::vector<Point2D> from;
        std::vector<Point2D> to;
        // Four corners: exact; then many points with a little noise.
        const int count = trial % 2 == 0 ? 4 : 40;
        for (int i = 0; i < count; ++i) {
            const double u = count == 4 ? (i == 1 || i == 2 ? w : 0) : w * unit(rng);
            const double v = count == 4 ? (i >= 2 ? h : 0) : h * unit(rng);
            const Vec2 p = truth(u, v);
            const double noise = count == 4 ? 0.0 : 0.05;
            from.emplace_back(static_cast<float>(u), static_cast<float>(v), 1.0f);
            to.emplace_back(static_cast<float>(p.x + noise * (unit(rng) - 0.5)),
                            static_cast<float>(p.y + noise * (unit(rng) - 0.5)), 1.0f);
        }
        pdf417::Homography fitted;
        ASSERT_TRUE(pdf417::Homography::fit(from.data(), to.data(), from.size(), fitted)) << trial;
        pdf417::Homography back;
        ASSERT_TRUE(fitted.inverse(back));
        for (int k = 0; k < 10; ++k) {
            const double u = w * unit(rng);
            const double v = h * unit(rng);
            const Vec2 want = truth(u, v);
            const Point2D got = fitted(u, v);
            // Float inputs of some thousands of pixels: a few hundredths.
            EXPECT_NEAR(got.x(), want.x, 0.05) << trial;
            EXPECT_NEAR(got.y(), want.y, 0.05) << trial;
            const Point2D round = back(got.x(), got.y());
            EXPECT_NEAR(round.x(), u, 0.05 * w / 100);
            EXPECT_NEAR(round.y(), v, 0.05 * h / 10);
        }
    }
}

// Maps that the points do not pin down are refused, not made up.
TEST(HomographyFit, RefusesPointsThatPinNothingDown) {
    const Point2D square[4] = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    const Point2D line[4] = {{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 3, 1}};
    const Point2D weightless[4] = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 0}};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Point2D broken[4] = {{0, 0, 1}, {1, 0, 1}, {1, nan, 1}, {0, 1, 1}};
    pdf417::Homography out;
    EXPECT_TRUE(pdf417::Homography::fit(square, square, 4, out));
    EXPECT_FALSE(pdf417::Homography::fit(square, line, 4, out));
    EXPECT_FALSE(pdf417::Homography::fit(line, square, 4, out));
    EXPECT_FALSE(pdf417::Homography::fit(square, weightless, 4, out));
    EXPECT_FALSE(pdf417::Homography::fit(square, broken, 4, out));
    EXPECT_FALSE(pdf417::Homography::fit(square, square, 3, out));
}

} // namespace
} // namespace pdf417::test
