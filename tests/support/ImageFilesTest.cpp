#include "tests/support/ImageFiles.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace pdf417::test {
namespace {

double meanAbsoluteError(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += std::abs(int(a[i]) - int(b[i]));
    }
    return sum / static_cast<double>(a.size());
}

// A bar pattern with edges in every 8x8 block, where JPEG loses the most.
SymbolRenderer::Frame barFrame(std::uint64_t seed) {
    std::mt19937 rng(static_cast<unsigned>(seed));
    ModuleGrid grid(60, 10);
    for (int r = 0; r < grid.rows(); ++r) {
        for (int c = 0; c < grid.columns(); ++c) {
            grid.set(c, r, rng() % 2 == 0);
        }
    }
    SymbolRenderer::Options options;
    options.moduleWidth = 2.0 + static_cast<double>(seed % 3);
    options.rotationDegrees = static_cast<double>(seed % 7);
    options.noiseSigma = 3.0;
    options.seed = seed;
    SymbolRenderer renderer;
    return renderer.render(grid, options);
}

// Better quality stays closer to the original; the size never changes.
TEST(ImageFiles, JpegRoundTripLosesLessAtHigherQuality) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        const auto frame = barFrame(seed);
        auto q90 = frame.pixels;
        auto q70 = frame.pixels;
        ASSERT_TRUE(jpegRoundTrip(q90, frame.width, frame.height, 90));
        ASSERT_TRUE(jpegRoundTrip(q70, frame.width, frame.height, 70));
        ASSERT_EQ(q90.size(), frame.pixels.size());
        ASSERT_EQ(q70.size(), frame.pixels.size());
        const double e90 = meanAbsoluteError(frame.pixels, q90);
        const double e70 = meanAbsoluteError(frame.pixels, q70);
        EXPECT_GT(e90, 0.0) << "seed " << seed;
        EXPECT_LT(e90, e70) << "seed " << seed;
        EXPECT_LT(e70, 12.0) << "seed " << seed; // still the same picture
    }
    std::vector<std::uint8_t> pixels(12, 7);
    const auto before = pixels;
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 4, 90)); // wrong size
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 3, 0));
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 3, 101));
    EXPECT_FALSE(jpegRoundTrip(pixels, -4, -3, 90));
    EXPECT_EQ(pixels, before);
}

// PNG is lossless: what is written reads back exactly, as does our PGM.
TEST(ImageFiles, PngAndPgmReadBackExactly) {
    const std::string dir = ::testing::TempDir();
    for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        const auto frame = barFrame(seed);
        const std::string png = dir + "/imagefiles_" + std::to_string(seed) + ".png";
        const std::string pgm = dir + "/imagefiles_" + std::to_string(seed) + ".pgm";
        ASSERT_TRUE(writeGrayPng(png, frame.pixels, frame.width, frame.height));
        ASSERT_TRUE(frame.writePgm(pgm));
        for (const std::string& path : {png, pgm}) {
            std::vector<std::uint8_t> pixels;
            int width = 0;
            int height = 0;
            ASSERT_TRUE(readGray(path, pixels, width, height)) << path;
            EXPECT_EQ(width, frame.width);
            EXPECT_EQ(height, frame.height);
            EXPECT_EQ(pixels, frame.pixels) << path;
            std::remove(path.c_str());
        }
    }
    std::vector<std::uint8_t> pixels{1, 2, 3};
    int width = 5;
    int height = 6;
    EXPECT_FALSE(readGray(dir + "/imagefiles_missing.pgm", pixels, width, height));
    EXPECT_EQ(pixels.size(), 3u);
    EXPECT_EQ(width, 5);
    EXPECT_FALSE(writeGrayPng(dir + "/imagefiles_bad.png", pixels, 2, 2));
}

} // namespace
} // namespace pdf417::test
