#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/locate/LocateTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

namespace pdf417::test {
namespace {

TEST(CutterFindAge, ShortFlatAndEdgelessProfiles) {
    Cutter cutter;
    using Profile = std::vector<unsigned char>;
    // Too short (no sample one past the middle), flat, or of deviation 4.
    for (const Profile& none : {Profile{}, Profile{0}, Profile{0, 255}, Profile(9, 100),
                                Profile{96, 104, 96, 104, 96, 104, 96, 104, 96}}) {
        EXPECT_EQ(cutter.findAge(none), 0) << none.size();
    }
    // The reference is index 5. Dark to the left end, light to the right
    // end: no edge. Light right before a bar: the edge is there already.
    EXPECT_EQ(cutter.findAge({0, 0, 0, 0, 0, 0, 255, 255, 255}), 0);
    EXPECT_EQ(cutter.findAge({0, 0, 255, 255, 255, 255, 255, 255, 255}), 0);
    EXPECT_EQ(cutter.findAge({255, 255, 255, 255, 255, 255, 0, 0, 0}), 0);
    EXPECT_EQ(cutter.findAge({255, 255, 255, 0, 0, 0, 0, 255, 255}), -2);
    EXPECT_EQ(cutter.findAge({0, 0, 0, 0, 0, 255, 255, 255, 0}), 2);
}

// On two-level profiles with one rise into a bar, the result moves the
// reference onto the bar's first sample when it was dark, onto the sample
// before it when it was light.
TEST(CutterFindAge, LandsNextToTheRise) {
    std::mt19937 rng(11);
    Cutter cutter;
    for (int trial = 0; trial < 2000; ++trial) {
        const int size = 4 + static_cast<int>(rng() % 40);
        const int rise = 1 + static_cast<int>(rng() % static_cast<unsigned>(size - 1));
        std::vector<unsigned char> profile(static_cast<std::size_t>(size),
                                           static_cast<unsigned char>(rng() % 100));
        std::fill_n(profile.begin(), rise, static_cast<unsigned char>(150 + rng() % 100));
        const int reference = size / 2 + 1;
        EXPECT_EQ(reference + cutter.findAge(profile), reference >= rise ? rise : rise - 1)
            << "size " << size << ", rise " << rise;
    }
}

// Detects and cuts a rendered symbol; the worst distance, in pixels, of a
// true boundary (17 (k + 1) modules in, at the top, middle and bottom) from
// line k, and the number of lines.
std::pair<std::size_t, double> cutCase(const SymbolCase& c, unsigned seed) {
    Pdf417Modules symbol;
    if (!makeSymbol(c.rows, c.columns, seed, symbol)) {
        return {0, INFINITY};
    }
    auto frame = renderCase(symbol, c, seed);
    Image image = frame.image();
    Detector detector;
    Cutter cutter;
    std::array<Point2D, 6> corners;
    Cutter::Lines lines;
    if (!detector.detect(image, corners) || !cutter.cut(image, corners, lines)) {
        return {0, INFINITY};
    }
    double worst = 0.0;
    for (std::size_t k = 0; k < lines.size(); ++k) {
        for (const double t : {0.0, 0.5, 1.0}) {
            const Vec2 p = frame.toFrame(17.0 * (k + 1), t * frame.heightModules);
            worst = std::max(worst, lineDistance(lines[k], p));
        }
    }
    return {lines.size(), worst};
}

// One line per boundary: the data columns, both row indicators, plus one,
// and at most 31. From about 5 pixels per module every line is within half a
// module of its boundary. Below that the edge convention (the reference one
// past the profile's middle) puts a boundary on the bar's first sample or up
// to two samples before it, so the error is a couple of pixels whatever the
// module: this holds the measured bound, the convention's 2 pixels plus
// anti-aliasing (worst seen 2.9 px at 2.5 px).
TEST(CutterLines, OneLinePerBoundaryNearTheTruth) {
    std::vector<std::pair<SymbolCase, unsigned>> cases; // and the seed
    for (const auto& [seed, from, to] : {std::tuple{7u, 5.0, 6.0}, {8u, 2.5, 5.0}}) {
        const auto some = randomCases(seed, seed == 7 ? 8 : 10, from, to, 3.0, 120.0);
        for (std::size_t i = 0; i < some.size(); ++i) {
            cases.emplace_back(some[i], static_cast<unsigned>(i));
        }
    }
    cases.emplace_back(SymbolCase{12, 30, 4.0, 0.0}, 1);
    for (const auto& [c, seed] : cases) {
        const auto [lines, worst] = cutCase(c, seed);
        EXPECT_EQ(lines, static_cast<std::size_t>(std::min(c.columns + 3, 31))) << c.describe();
        EXPECT_LE(worst, c.module >= 5.0 ? 0.5 * c.module : 3.0) << c.describe();
    }
}

TEST(CutterHooks, LineHooksVetoAndPointHooksSeeEveryEdgePoint) {
    Pdf417Modules symbol;
    ASSERT_TRUE(makeSymbol(20, 5, 2, symbol));
    auto frame = renderCase(symbol, {20, 5, 4.0, 0.0});
    Image image = frame.image();
    Detector detector;
    std::array<Point2D, 6> corners;
    ASSERT_TRUE(detector.detect(image, corners));
    Cutter cutter;
    std::vector<Point2D> points;
    cutter.pointHooks.push_back([&](Cutter&, const Point2D& p) { points.push_back(p); });
    std::size_t seen = 0;
    cutter.lineHooks.push_back([&](Cutter& self, Cutter::Lines& lines) {
        seen = lines.size();
        return &self == &cutter;
    });
    Cutter::Lines lines;
    ASSERT_TRUE(cutter.cut(image, corners, lines));
    EXPECT_EQ(seen, lines.size());
    // Thirty edge points per new line, each near the line fitted to them.
    ASSERT_EQ(points.size(), 30 * (lines.size() - 1));
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_LE(lineDistance(lines[1 + i / 30], {points[i].x(), points[i].y()}), 2.0) << i;
    }
    cutter.lineHooks.push_back([](Cutter&, Cutter::Lines&) { return false; });
    EXPECT_FALSE(cutter.cut(image, corners, lines));
}

TEST(CutterCut, DegenerateCornersFailOrEndSafely) {
    std::mt19937 rng(4);
    std::vector<unsigned char> pixels(300 * 200);
    for (auto& p : pixels) {
        p = static_cast<unsigned char>(rng() % 2 ? 20 : 230);
    }
    Image image(pixels.data(), 300, 200);
    Cutter cutter;
    Cutter::Lines lines(5);
    std::array<Point2D, 6> corners;
    corners.fill(Point2D(10, 10, 1));
    EXPECT_FALSE(cutter.cut(image, corners, lines)); // all in one point
    corners[3] = Point2D(std::numeric_limits<float>::quiet_NaN(), 5, 1);
    EXPECT_FALSE(cutter.cut(image, corners, lines));
    EXPECT_TRUE(lines.empty());
    corners[3] = Point2D(5, std::numeric_limits<float>::infinity(), 1);
    EXPECT_FALSE(cutter.cut(image, corners, lines));
    // Any finite corners: the cut ends with at most 31 lines, all finite.
    std::uniform_real_distribution<float> far(-1e6f, 1e6f);
    std::uniform_real_distribution<float> near(-50.0f, 350.0f);
    for (int trial = 0; trial < 300; ++trial) {
        for (Point2D& c : corners) {
            c = trial % 3 ? Point2D(near(rng), near(rng), 1) : Point2D(far(rng), far(rng), 1);
        }
        const bool ok = cutter.cut(image, corners, lines);
        EXPECT_LE(lines.size(), 31u);
        for (const auto& line : lines) {
            EXPECT_TRUE(!ok || (std::isfinite(line.first.x()) && std::isfinite(line.second.y())));
        }
    }
}

} // namespace
} // namespace pdf417::test
