// Fitting plane projective maps, checked against the renderer's own
// closed-form maps (an independent implementation).
#include "pdf417scan/imaging/Homography.h"
#include "tests/support/Homography.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

TEST(HomographyFit, RecoversRandomPerspectiveMaps) {
    std::mt19937 rng(8);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 200; ++trial) {
        // A symbol-sized rectangle onto a random convex quadrilateral of a
        // large frame.
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
