#include "pdf417scan/imaging/Line2D.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace pdf417 {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(Line2D, SpecialCases) {
    const Line2D none(Point2D(1, 2, 1), Point2D(1, 2, 7));
    EXPECT_TRUE(none.A() == 0 && none.B() == 0 && none.C() == 0);
    const Line2D pq(1, 2, 4, -3);
    EXPECT_FLOAT_EQ(pq.Y(1), 2);
    EXPECT_FLOAT_EQ(pq.X(-3), 4);
    Line2D n(3, 4, 10);
    n.normalize();
    EXPECT_FLOAT_EQ(n.A(), 0.6f);
    EXPECT_FLOAT_EQ(n.B(), 0.8f);
    EXPECT_FLOAT_EQ(n.C(), 2.0f);

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
    for (float bad : {kNan, kInf, -kInf}) {
        for (int which = 0; which < 6; ++which) {
            float c[6] = {2, 1, 0, 0, 1, 3};
            c[which] = bad;
            EXPECT_FALSE(
                Line2D::intersect(Line2D(c[0], c[1], c[2]), Line2D(c[3], c[4], c[5]), out));
        }
    }
    EXPECT_TRUE(out.x() == 7 && out.y() == 7);
}

// Two random lines through a known point: both constructors agree, the
// defining points lie on the line, and the lines meet at the
// point whichever is first.
TEST(Line2D, LinesThroughAPointMeetThere) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> coord(-500, 500);
    std::uniform_real_distribution<float> angle(0, 3.14159265f);
    for (int trial = 0; trial < 5000; ++trial) {
        const float px = coord(rng), py = coord(rng);
        const float a1 = angle(rng), a2 = angle(rng);
        const float sine = std::fabs(std::sin(a1 - a2));
        if (sine < 0.05f) {
            continue; // nearly parallel: the point is ill-conditioned
        }
        const float len = 1 + std::fabs(coord(rng));
        const float qx = px + len * std::cos(a1), qy = py + len * std::sin(a1);
        const Line2D l1(Point2D(px, py, 1), Point2D(qx, qy, 1));
        const Line2D same(px, py, qx, qy);
        ASSERT_TRUE(l1.A() == same.A() && l1.B() == same.B() && l1.C() == same.C());
        const Line2D l2(px - std::cos(a2), py - std::sin(a2), px + std::cos(a2), py + std::sin(a2));
        // float rounding of C = x1·y2 − x2·y1 grows with the coordinates.
        const float tolerance = 1e-4f * (std::fabs(px) + std::fabs(py) + len) / sine;
        const float norm = std::hypot(l1.A(), l1.B());
        ASSERT_NEAR((l1.A() * qx + l1.B() * qy + l1.C()) / norm, 0, tolerance);
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
