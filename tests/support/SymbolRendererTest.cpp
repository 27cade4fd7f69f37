#include "tests/support/SymbolRenderer.h"
#include "tests/support/Homography.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace pdf417::test {
namespace {

double distance(const Vec2& a, const Vec2& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

std::array<Vec2, 4> jitteredQuad(std::mt19937& rng, double spread) {
    std::uniform_real_distribution<double> jitter(-spread, spread);
    return {Vec2{100 + jitter(rng), 80 + jitter(rng)}, Vec2{500 + jitter(rng), 90 + jitter(rng)},
            Vec2{520 + jitter(rng), 300 + jitter(rng)}, Vec2{90 + jitter(rng), 310 + jitter(rng)}};
}

TEST(Homography, MapsCornersInvertsAndComposes) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> coord(-50.0, 600.0);
    for (int trial = 0; trial < 200; ++trial) {
        const auto quad = jitteredQuad(rng, trial % 2 ? 60.0 : 0.0);
        const Homography h = Homography::rectToQuad(239.0, 36.0, quad);
        const Vec2 corners[4] = {h(0, 0), h(239, 0), h(239, 36), h(0, 36)};
        for (int i = 0; i < 4; ++i) {
            EXPECT_LT(distance(corners[i], quad[static_cast<std::size_t>(i)]), 1e-9);
        }
        Homography inv;
        ASSERT_TRUE(h.inverse(inv));
        const Homography r = Homography::rotation(coord(rng));
        for (int k = 0; k < 10; ++k) {
            const Vec2 p{coord(rng), coord(rng)};
            EXPECT_LT(distance(inv(h(p)), p), 1e-7);
            const Vec2 composed = (r * h)(p);
            EXPECT_LT(distance(composed, r(h(p))), 1e-7);
        }
    }
    // With y pointing down a positive angle turns clockwise on screen.
    const Vec2 turned = Homography::rotation(90.0)(1.0, 0.0);
    EXPECT_NEAR(turned.x, 0.0, 1e-12);
    EXPECT_NEAR(turned.y, 1.0, 1e-12);
    Homography singular(std::array<double, 9>{1, 2, 3, 2, 4, 6, 0, 0, 1});
    Homography unused;
    EXPECT_FALSE(singular.inverse(unused));
}

TEST(SymbolRenderer, PixelsAreAreaAverages) {
    // One bar module between two spaces, 2.5 pixels per module, its left
    // edge at x = 12.5: pixel 12 is half ink, 13 and 14 are ink.
    ModuleGrid grid(3, 1);
    grid.set(1, 0, true);
    SymbolRenderer::Options options;
    options.moduleWidth = 2.5;
    options.rowHeight = 4.0;
    options.quietZone = 0.0;
    options.frameWidth = 30;
    options.frameHeight = 20;
    options.centerX = 10.0 + 3 * 2.5 / 2;
    options.supersampling = 8;
    SymbolRenderer renderer;
    auto frame = renderer.render(grid, options);
    const int y = 10;
    EXPECT_EQ(frame.at(11, y), 220);
    EXPECT_EQ(frame.at(12, y), 125); // (30 + 220) / 2
    EXPECT_EQ(frame.at(13, y), 30);
    EXPECT_EQ(frame.at(14, y), 30);
    EXPECT_EQ(frame.at(15, y), 220);

    // However the symbol is turned and scaled, the ink adds up to the bar
    // area times the contrast.
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417("area coverage", {4, 2, 12}, symbol));
    const ModuleGrid pdf(symbol);
    int bars = 0;
    for (int r = 0; r < pdf.rows(); ++r) {
        for (int c = 0; c < pdf.columns(); ++c) {
            bars += pdf.bar(c, r) ? 1 : 0;
        }
    }
    std::mt19937 rng(2);
    for (int trial = 0; trial < 12; ++trial) {
        SymbolRenderer::Options o;
        o.moduleWidth = std::uniform_real_distribution<double>(1.5, 4.5)(rng);
        o.rotationDegrees = std::uniform_real_distribution<double>(-180.0, 180.0)(rng);
        o.supersampling = 4;
        auto f = renderer.render(pdf, o);
        double ink = 0.0;
        for (const auto p : f.pixels) {
            ink += 220.0 - p;
        }
        const double expected = 190.0 * bars * o.moduleWidth * o.moduleWidth * o.rowHeight;
        EXPECT_NEAR(ink / expected, 1.0, 0.005) << o.moduleWidth << " px, " << o.rotationDegrees;
    }
}

TEST(SymbolRenderer, GroundTruthMatchesThePixels) {
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417("ground truth", {3, 2, 10}, symbol));
    const ModuleGrid grid(symbol);
    const double w = grid.columns();
    const double h = grid.rows() * 3.0;
    SymbolRenderer renderer;
    std::mt19937 rng(3);
    for (int trial = 0; trial < 16; ++trial) {
        SymbolRenderer::Options options;
        options.moduleWidth = std::uniform_real_distribution<double>(4.0, 5.0)(rng);
        options.rotationDegrees = trial == 0 ? 0.0 : (trial == 1 ? 180.0 : rng() % 360);
        options.frameWidth = 900;
        options.frameHeight = 700;
        if (trial >= 8) {
            options.quad = jitteredQuad(rng, 40.0);
            options.quad->at(1).x += 300; // wide enough for 4 px modules
            options.quad->at(2).x += 300;
        }
        auto frame = renderer.render(grid, options);
        const std::string label = "trial " + std::to_string(trial);
        // The centre pixel of every module shows its colour.
        for (int r = 0; r < grid.rows(); ++r) {
            for (int c = 0; c < grid.columns(); ++c) {
                const Vec2 p = frame.toFrame(c + 0.5, (r + 0.5) * 3.0);
                const int value = frame.at(static_cast<int>(p.x), static_cast<int>(p.y));
                ASSERT_EQ(value < 125, grid.bar(c, r)) << label << " module " << c << "," << r;
            }
        }
        // The corners: 17 modules apart on the top edge, the stop's wide bar
        // 14.5 modules from the right end, the bottom edge h modules down.
        const auto& k = frame.corners;
        EXPECT_LT(distance(k[0], frame.toFrame(0, 0)), 1e-9);
        EXPECT_LT(distance(k[1], frame.toFrame(17, 0)), 1e-9);
        EXPECT_LT(distance(k[2], frame.toFrame(w - 14.5, 0)), 1e-9);
        EXPECT_LT(distance(k[5], frame.toFrame(w - 14.5, h)), 1e-9);
        if (options.quad) {
            EXPECT_LT(distance(k[0], (*options.quad)[0]), 1e-9);
            EXPECT_LT(distance(k[3], (*options.quad)[3]), 1e-9);
        } else {
            EXPECT_NEAR(distance(k[0], k[1]), 17 * options.moduleWidth, 1e-9);
            EXPECT_NEAR(distance(k[0], k[3]), h * options.moduleWidth, 1e-9);
            EXPECT_NEAR(distance(k[0], k[5]), std::hypot(w - 14.5, h) * options.moduleWidth, 1e-9);
        }
    }
    // Upright and turned by 180 degrees about the frame's centre.
    SymbolRenderer::Options options;
    options.moduleWidth = 2.0;
    options.frameWidth = 600;
    options.frameHeight = 200;
    auto upright = renderer.render(grid, options);
    EXPECT_NEAR(upright.corners[0].x, 300 - w, 1e-9);
    EXPECT_NEAR(upright.corners[0].y, 100 - h, 1e-9);
    options.rotationDegrees = 180.0;
    auto turned = renderer.render(grid, options);
    EXPECT_NEAR(turned.corners[0].x, 300 + w, 1e-9);
    EXPECT_NEAR(turned.corners[0].y, 100 + h, 1e-9);
    EXPECT_GT(turned.corners[0].y, turned.corners[3].y); // first row at the bottom
}

TEST(SymbolRenderer, EffectsAreDeterministicAndCalibrated) {
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417("effects", {2, 2, 8}, symbol));
    const ModuleGrid grid(symbol);
    SymbolRenderer renderer;
    SymbolRenderer::Options options;
    options.frameWidth = 400;
    options.frameHeight = 300;
    options.moduleWidth = 2.0;
    options.paper = 150.0;

    // Noise: reproducible from the seed, of the requested strength.
    options.noiseSigma = 6.0;
    options.seed = 5;
    const auto a = renderer.render(grid, options);
    const auto b = renderer.render(grid, options);
    EXPECT_EQ(a.pixels, b.pixels);
    options.seed = 6;
    EXPECT_NE(renderer.render(grid, options).pixels, a.pixels);
    double sum = 0.0;
    double squares = 0.0;
    int n = 0;
    for (int y = 0; y < 30; ++y) { // paper only
        for (int x = 0; x < 400; ++x, ++n) {
            sum += a.at(x, y);
            squares += a.at(x, y) * a.at(x, y);
        }
    }
    const double mean = sum / n;
    EXPECT_NEAR(mean, 150.0, 0.5);
    EXPECT_NEAR(std::sqrt(squares / n - mean * mean), 6.0, 0.4);

    // Blur spreads the ink without losing any.
    options.noiseSigma = 0.0;
    const auto sharp = renderer.render(grid, options);
    options.blurSigma = 1.5;
    const auto blurred = renderer.render(grid, options);
    double inkSharp = 0.0;
    double inkBlurred = 0.0;
    int between = 0;
    for (std::size_t i = 0; i < sharp.pixels.size(); ++i) {
        inkSharp += 150.0 - sharp.pixels[i];
        inkBlurred += 150.0 - blurred.pixels[i];
        between += blurred.pixels[i] > 40 && blurred.pixels[i] < 140 ? 1 : 0;
    }
    EXPECT_NEAR(inkBlurred / inkSharp, 1.0, 0.002);
    EXPECT_GT(between, 1000);

    // Lighting: a gradient of 0.3 across, and a vignette darkening the
    // corners by 0.4.
    options.blurSigma = 0.0;
    options.lighting.gradientX = 0.3;
    const auto lit = renderer.render(grid, options);
    EXPECT_NEAR(lit.at(0, 0), 150.0 * 0.7, 1.0);
    EXPECT_NEAR(lit.at(399, 0), 150.0 * 1.3, 1.0);
    EXPECT_NEAR(lit.at(200, 0), 150.0, 1.0);
    options.lighting = {};
    options.lighting.vignette = 0.4;
    const auto vignetted = renderer.render(grid, options);
    // Gain 1 - 0.4 r^2 / R^2, R the centre's distance from a corner.
    const auto gain = [](double x, double y) {
        const double dx = x + 0.5 - 200.0;
        const double dy = y + 0.5 - 150.0;
        return 1.0 - 0.4 * (dx * dx + dy * dy) / (200.0 * 200.0 + 150.0 * 150.0);
    };
    EXPECT_NEAR(vignetted.at(0, 0), 150.0 * gain(0, 0), 1.0);
    EXPECT_NEAR(vignetted.at(0, 0), 150.0 * 0.6, 1.5);
    EXPECT_NEAR(vignetted.at(200, 10), 150.0 * gain(200, 10), 1.0);
    EXPECT_NEAR(vignetted.at(399, 299), vignetted.at(0, 0), 1.0);
}

TEST(SymbolRenderer, AutomaticFramesHoldTheQuietZone) {
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417("frame size", {5, 2, 6}, symbol));
    const ModuleGrid grid(symbol);
    SymbolRenderer renderer;
    std::mt19937 rng(8);
    for (int trial = 0; trial < 20; ++trial) {
        SymbolRenderer::Options options;
        options.moduleWidth = std::uniform_real_distribution<double>(1.0, 3.0)(rng);
        options.rotationDegrees = std::uniform_real_distribution<double>(-180.0, 180.0)(rng);
        options.margin = 5;
        options.background = 0.0; // black beyond the quiet zone
        auto frame = renderer.render(grid, options);
        const double q = options.quietZone;
        const double w = grid.columns() + q;
        const double h = grid.rows() * options.rowHeight + q;
        for (const Vec2 p : {frame.toFrame(-q, -q), frame.toFrame(w, -q), frame.toFrame(w, h),
                             frame.toFrame(-q, h)}) {
            EXPECT_TRUE(p.x >= 4.0 && p.y >= 4.0 && p.x <= frame.width - 4.0 &&
                        p.y <= frame.height - 4.0);
        }
        EXPECT_EQ(frame.at(0, 0), 0);
    }
}

} // namespace
} // namespace pdf417::test
