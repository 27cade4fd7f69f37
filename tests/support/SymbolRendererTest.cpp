#include "tests/support/SymbolRenderer.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace pdf417::test {
namespace {

constexpr double kPi = 3.14159265358979323846;

double distance(const Vec2& a, const Vec2& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

ModuleGrid gridOf(const std::string& text, const ZintOptions& options) {
    Pdf417Modules symbol;
    EXPECT_TRUE(encodePdf417(text, options, symbol));
    return ModuleGrid(symbol);
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
    const int expected[] = {220, 125, 30, 30, 220}; // pixel 12: (30 + 220) / 2
    for (int x = 11; x <= 15; ++x) {
        EXPECT_EQ(frame.at(x, 10), expected[x - 11]) << x;
    }

    // However the symbol is turned and scaled, the ink adds up to the bar
    // area times the contrast.
    const ModuleGrid pdf = gridOf("area coverage", {4, 2, 12});
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
        double ink = 0.0;
        for (const auto p : renderer.render(pdf, o).pixels) {
            ink += 220.0 - p;
        }
        const double area = 190.0 * bars * o.moduleWidth * o.moduleWidth * o.rowHeight;
        EXPECT_NEAR(ink / area, 1.0, 0.005) << o.moduleWidth << " px, " << o.rotationDegrees;
    }
}

// Every module's centre pixel shows its colour, and the six corners lie where
// the detector must find them, for similarity and perspective placements and
// for frames sized to fit the symbol.
TEST(SymbolRenderer, GroundTruthMatchesThePixels) {
    const ModuleGrid grid = gridOf("ground truth", {3, 2, 10});
    const double w = grid.columns();
    const double h = grid.rows() * 3.0;
    SymbolRenderer renderer;
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> jitter(-40.0, 40.0);
    for (int trial = 0; trial < 20; ++trial) {
        SymbolRenderer::Options options;
        options.moduleWidth = std::uniform_real_distribution<double>(4.0, 5.0)(rng);
        options.rotationDegrees = trial == 0 ? 0.0 : (trial == 1 ? 180.0 : rng() % 360);
        const bool fitted = trial >= 16; // the frame sized to the symbol
        options.frameWidth = fitted ? 0 : 900;
        options.frameHeight = fitted ? 0 : 700;
        options.margin = 5;
        options.background = 0.0;    // black beyond the quiet zone
        if (trial >= 8 && !fitted) { // wide enough for 4 px modules
            options.quad = {Vec2{100 + jitter(rng), 80 + jitter(rng)},
                            Vec2{800 + jitter(rng), 90 + jitter(rng)},
                            Vec2{820 + jitter(rng), 300 + jitter(rng)},
                            Vec2{90 + jitter(rng), 310 + jitter(rng)}};
        }
        auto frame = renderer.render(grid, options);
        SCOPED_TRACE("trial " + std::to_string(trial));
        for (int r = 0; r < grid.rows(); ++r) {
            for (int c = 0; c < grid.columns(); ++c) {
                const Vec2 p = frame.toFrame(c + 0.5, (r + 0.5) * 3.0);
                const int value = frame.at(static_cast<int>(p.x), static_cast<int>(p.y));
                ASSERT_EQ(value < 125, grid.bar(c, r)) << "module " << c << "," << r;
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
            continue;
        }
        // Centred in the frame, turned clockwise on screen (y points down).
        const Vec2 centre = frame.toFrame(w / 2, h / 2);
        EXPECT_NEAR(centre.x, frame.width / 2.0, 1e-9);
        EXPECT_NEAR(centre.y, frame.height / 2.0, 1e-9);
        const double m = options.moduleWidth;
        const double a = options.rotationDegrees * kPi / 180.0;
        EXPECT_NEAR(k[1].x - k[0].x, 17 * m * std::cos(a), 1e-9);
        EXPECT_NEAR(k[1].y - k[0].y, 17 * m * std::sin(a), 1e-9);
        EXPECT_NEAR(k[3].x - k[0].x, -h * m * std::sin(a), 1e-9);
        EXPECT_NEAR(k[3].y - k[0].y, h * m * std::cos(a), 1e-9);
        if (fitted) { // the quiet zone inside, the margin around it
            const double q = options.quietZone;
            for (const Vec2 p : {frame.toFrame(-q, -q), frame.toFrame(w + q, -q),
                                 frame.toFrame(w + q, h + q), frame.toFrame(-q, h + q)}) {
                EXPECT_TRUE(p.x >= 4.0 && p.y >= 4.0 && p.x <= frame.width - 4.0 &&
                            p.y <= frame.height - 4.0);
            }
            EXPECT_EQ(frame.at(0, 0), 0);
        }
    }
}

TEST(SymbolRenderer, EffectsAreDeterministicAndCalibrated) {
    const ModuleGrid grid = gridOf("effects", {2, 2, 8});
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
    EXPECT_EQ(renderer.render(grid, options).pixels, a.pixels);
    options.seed = 6;
    EXPECT_NE(renderer.render(grid, options).pixels, a.pixels);
    double sum = 0.0;
    double squares = 0.0;
    const int n = 30 * 400; // the paper above the symbol
    for (int i = 0; i < n; ++i) {
        sum += a.pixels[i];
        squares += a.pixels[i] * a.pixels[i];
    }
    EXPECT_NEAR(sum / n, 150.0, 0.5);
    EXPECT_NEAR(std::sqrt(squares / n - sum / n * sum / n), 6.0, 0.4);

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

    // Lighting: a gradient of 0.3 across; a vignette of 0.4 has the gain
    // 1 - 0.4 r^2 / R^2, R the centre's distance from a corner.
    options.blurSigma = 0.0;
    options.lighting.gradientX = 0.3;
    const auto lit = renderer.render(grid, options);
    EXPECT_NEAR(lit.at(0, 0), 150.0 * 0.7, 1.0);
    EXPECT_NEAR(lit.at(399, 0), 150.0 * 1.3, 1.0);
    EXPECT_NEAR(lit.at(200, 0), 150.0, 1.0);
    options.lighting = {};
    options.lighting.vignette = 0.4;
    const auto vignetted = renderer.render(grid, options);
    const auto gain = [](double x, double y) {
        const double dx = x + 0.5 - 200.0;
        const double dy = y + 0.5 - 150.0;
        return 1.0 - 0.4 * (dx * dx + dy * dy) / (200.0 * 200.0 + 150.0 * 150.0);
    };
    EXPECT_NEAR(vignetted.at(0, 0), 150.0 * gain(0, 0), 1.0);
    EXPECT_NEAR(vignetted.at(200, 10), 150.0 * gain(200, 10), 1.0);
    EXPECT_NEAR(vignetted.at(399, 299), vignetted.at(0, 0), 1.0);
}

} // namespace
} // namespace pdf417::test
