#include "tests/support/ImageFiles.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>

namespace pdf417::test {
namespace {

// Random bars with edges in every 8x8 block, where JPEG loses the most. JPEG
// stays close to the picture, closer at higher quality; PNG and our PGM read
// back exactly; the size never changes.
TEST(ImageFiles, JpegLosesLessAtHigherQualityPngAndPgmReadBackExactly) {
    const std::string dir = ::testing::TempDir();
    SymbolRenderer renderer;
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
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
        const auto frame = renderer.render(grid, options);
        double error[2] = {0.0, 0.0};
        for (const int quality : {90, 70}) {
            auto pixels = frame.pixels;
            ASSERT_TRUE(jpegRoundTrip(pixels, frame.width, frame.height, quality));
            ASSERT_EQ(pixels.size(), frame.pixels.size());
            for (std::size_t i = 0; i < pixels.size(); ++i) {
                error[quality == 70] += std::abs(int(pixels[i]) - int(frame.pixels[i]));
            }
        }
        EXPECT_GT(error[0], 0.0) << "seed " << seed;
        EXPECT_LT(error[0], error[1]) << "seed " << seed;
        EXPECT_LT(error[1], 12.0 * frame.pixels.size()) << "seed " << seed; // the same picture

        const std::string png = dir + "/imagefiles_" + std::to_string(seed) + ".png";
        const std::string pgm = dir + "/imagefiles_" + std::to_string(seed) + ".pgm";
        ASSERT_TRUE(writeGrayPng(png, frame.pixels, frame.width, frame.height));
        ASSERT_TRUE(frame.writePgm(pgm));
        for (const std::string& path : {png, pgm}) {
            std::vector<std::uint8_t> pixels;
            int width = 0;
            int height = 0;
            ASSERT_TRUE(readGray(path, pixels, width, height)) << path;
            EXPECT_TRUE(width == frame.width && height == frame.height) << path;
            EXPECT_EQ(pixels, frame.pixels) << path;
            std::remove(path.c_str());
        }
    }
    // Unusable arguments and missing files leave the outputs alone.
    std::vector<std::uint8_t> pixels(12, 7);
    const auto before = pixels;
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 4, 90)); // wrong size
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 3, 0));
    EXPECT_FALSE(jpegRoundTrip(pixels, 4, 3, 101));
    EXPECT_FALSE(jpegRoundTrip(pixels, -4, -3, 90));
    EXPECT_FALSE(writeGrayPng(dir + "/imagefiles_bad.png", pixels, 2, 2));
    int width = 5;
    int height = 6;
    EXPECT_FALSE(readGray(dir + "/imagefiles_missing.pgm", pixels, width, height));
    EXPECT_EQ(pixels, before);
    EXPECT_TRUE(width == 5 && height == 6);
}

} // namespace
} // namespace pdf417::test
