// Bilinear interpolation is exact on a + bx + cy + dxy, so a frame drawn
// from such a function gives the sampler an oracle anywhere between pixel
// centres; outside them the nearest border pixel stands in.
#include "pdf417scan/imaging/LineSampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

constexpr int W = 16, H = 12;

// The function the pixels sample, at pixel coordinates (centres at
// integers here).
double bilinear(double x, double y) {
    return 5.0 + x + 2.0 * y + x * y;
}

// Clamped to the pixel centres, as the sampler does beyond the border.
double expected(double x, double y) {
    return bilinear(std::clamp(x - 0.5, 0.0, W - 1.0), std::clamp(y - 0.5, 0.0, H - 1.0));
}

TEST(LineSampler, ExactOnBilinearFramesAndClampedOutside) {
    std::vector<unsigned char> pixels(W * H);
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            pixels[static_cast<std::size_t>(y * W + x)] =
                static_cast<unsigned char>(bilinear(x, y));
        }
    }
    const Image image(pixels.data(), W, H);
    const LineSampler sampler(image);
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> x(-5.0f, W + 5.0f), y(-5.0f, H + 5.0f);
    for (int i = 0; i < 2000; ++i) {
        const float px = x(rng), py = y(rng);
        ASSERT_NEAR(sampler.at(px, py), expected(px, py), 1e-3) << px << "," << py;
    }
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(sampler.at(nan, 3.0f), 0.0f);
    EXPECT_EQ(sampler.at(3.0f, std::numeric_limits<float>::infinity()), 0.0f);

    // A row of the symbol plane through a perspective map: both ends
    // included, evenly spaced in the plane, so each sample is at() of the
    // mapped point.
    const Point2D plane[4] = {{0, 0, 1}, {16, 0, 1}, {16, 8, 1}, {0, 8, 1}};
    const Point2D frame[4] = {{2, 2, 1}, {14, 1, 1}, {13, 10, 1}, {3, 9, 1}};
    Homography map;
    ASSERT_TRUE(Homography::fit(plane, frame, 4, map));
    std::vector<float> row;
    ASSERT_TRUE(sampler.sampleRow(map, 1.0, 15.0, 6.0, 8, row));
    ASSERT_EQ(row.size(), 8u);
    for (int i = 0; i < 8; ++i) {
        double fx = 0.0, fy = 0.0;
        ASSERT_TRUE(map.map(1.0 + 2.0 * i, 6.0, fx, fy));
        EXPECT_NEAR(row[static_cast<std::size_t>(i)], expected(fx, fy), 1e-2) << i;
    }
    EXPECT_FALSE(sampler.sampleRow(map, 1.0, 15.0, 6.0, 1, row));
    EXPECT_TRUE(row.empty());
    // A crossed quadrilateral puts the map's horizon through the square:
    // a row across it has no image.
    const Point2D crossed[4] = {{2, 2, 1}, {14, 1, 1}, {3, 9, 1}, {13, 10, 1}};
    Homography horizon;
    ASSERT_TRUE(Homography::fit(plane, crossed, 4, horizon));
    EXPECT_FALSE(sampler.sampleRow(horizon, 0.0, 16.0, 4.0, 5, row));
    EXPECT_TRUE(row.empty());
}

} // namespace
} // namespace pdf417
