#include "pdf417scan/imaging/Line2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace pdf417 {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(Line2D, ThroughTwoPoints) {
    const Point2D p(1, 2, 1);
    const Point2D q(4, -3, 7);
    const Line2D pq(p, q);
    const Line2D qp(q, p);
    EXPECT_FLOAT_EQ(pq.A(), -qp.A());
    EXPECT_FLOAT_EQ(pq.B(), -qp.B());
    EXPECT_FLOAT_EQ(pq.C(), -qp.C());
    const Line2D same(1, 2, 4, -3);
    EXPECT_EQ(pq.A(), same.A());
    EXPECT_EQ(pq.B(), same.B());
    EXPECT_EQ(pq.C(), same.C());
    for (float x : {1.0f, 4.0f, -10.0f, 2.5f}) {
        EXPECT_FLOAT_EQ(pq.Y(x), qp.Y(x));
        EXPECT_FLOAT_EQ(pq.X(pq.Y(x)), x);
    }
    EXPECT_FLOAT_EQ(pq.Y(1), 2);
    EXPECT_FLOAT_EQ(pq.X(-3), 4);
    const Line2D none(p, p);
    EXPECT_EQ(none.A(), 0);
    EXPECT_EQ(none.B(), 0);
    EXPECT_EQ(none.C(), 0);

    Line2D n(3, 4, 10);
    n.normalize();
    EXPECT_FLOAT_EQ(n.A(), 0.6f);
    EXPECT_FLOAT_EQ(n.B(), 0.8f);
    EXPECT_FLOAT_EQ(n.C(), 2.0f);
}

TEST(Line2D, IntersectSpecialCases) {
    Point2D out(7, 7, 5);
    ASSERT_TRUE(Line2D::intersect(Line2D(1, 0, 0), Line2D(0, 1, 0), out));
    EXPECT_EQ(out.x(), 0);
    EXPECT_EQ(out.y(), 0);
    EXPECT_EQ(out.mass(), 5);

    // Parallel: slanted ones meet at infinity, axis-parallel ones give NaN.
    ASSERT_TRUE(Line2D::intersect(Line2D(1, 1, 0), Line2D(1, 1, -5), out));
    EXPECT_EQ(out.x(), kInf);
    EXPECT_EQ(out.y(), -kInf);
    out = Point2D(7, 7, 5);
    EXPECT_FALSE(Line2D::intersect(Line2D(1, 0, 0), Line2D(1, 0, -5), out));
    EXPECT_FALSE(Line2D::intersect(Line2D(2, 3, 1), Line2D(2, 3, 1), out));
    EXPECT_FALSE(Line2D::intersect(Line2D(0, 0, 0), Line2D(0, 1, 0), out));

    // Non-finite coefficients are refused, out left alone.
    for (float bad : {kNan, kInf, -kInf}) {
        for (int which = 0; which < 6; ++which) {
            float c[6] = {2, 1, 0, 0, 1, 3};
            c[which] = bad;
            EXPECT_FALSE(
                Line2D::intersect(Line2D(c[0], c[1], c[2]), Line2D(c[3], c[4], c[5]), out));
        }
    }
    EXPECT_EQ(out.x(), 7);
    EXPECT_EQ(out.y(), 7);
}

// Two random lines through a known point meet there, whichever is first.
TEST(Line2D, IntersectFindsTheCommonPoint) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> coord(-500, 500);
    std::uniform_real_distribution<float> angle(0, 3.14159265f);
    for (int trial = 0; trial < 5000; ++trial) {
        const float px = coord(rng);
        const float py = coord(rng);
        const float a1 = angle(rng);
        const float a2 = angle(rng);
        const float sine = std::fabs(std::sin(a1 - a2));
        if (sine < 0.05f) {
            continue; // nearly parallel: the point is ill-conditioned
        }
        const float len = 1 + std::fabs(coord(rng));
        const Line2D l1(Point2D(px, py, 1),
                        Point2D(px + len * std::cos(a1), py + len * std::sin(a1), 1));
        const Line2D l2(px - std::cos(a2), py - std::sin(a2), px + std::cos(a2), py + std::sin(a2));
        // float rounding of C = x1·y2 − x2·y1 grows with the coordinates.
        const float tolerance = 1e-4f * (std::fabs(px) + std::fabs(py) + len) / sine;
        for (bool swap : {false, true}) {
            Point2D out;
            ASSERT_TRUE(Line2D::intersect(swap ? l2 : l1, swap ? l1 : l2, out));
            ASSERT_NEAR(out.x(), px, tolerance) << trial;
            ASSERT_NEAR(out.y(), py, tolerance) << trial;
        }
    }
}

} // namespace
} // namespace pdf417
