#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/RowUtils.h"
#include "tests/locate/LocateTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

const std::vector<int> kStart = {8, 1, 1, 1, 1, 1, 1, 3};
const std::vector<int> kStop = {7, 1, 1, 3, 1, 1, 1, 2, 1};

// Draws elements `modules` wide, bar first, into a row from pixel `at`.
void draw(std::vector<unsigned char>& row, int at, const std::vector<int>& modules, int module) {
    bool bar = true;
    for (const int w : modules) {
        std::fill_n(row.begin() + at, w * module, bar ? 0 : 255);
        at += w * module;
        bar = !bar;
    }
}

TEST(DetectorPatterns, WidthRulesAndSurroundingRuns) {
    Detector::Match match{7, 7, 7};
    // A start pattern needs a ninth run after it and a first bar of 8.
    EXPECT_FALSE(Detector::findStartPattern({-8, 1, -1, 1, -1, 1, -1, 3}, match));
    EXPECT_EQ(match, (Detector::Match{7, 7, 7}));
    EXPECT_FALSE(Detector::findStartPattern({-7, 1, -1, 1, -1, 1, -1, 3, -2, 4}, match));
    // A squeezed line's first run is one too long: -9 is an 8-sample bar.
    EXPECT_TRUE(Detector::findStartPattern({-9, 1, -1, 1, -1, 1, -1, 3, -5}, match));
    EXPECT_EQ(match, (Detector::Match{0, 4, 17}));
    // The last nine runs are a stop pattern: accepted after another run,
    // refused when they are the whole vector or the first bar is under 7.
    EXPECT_FALSE(Detector::findStopPattern({-7, 1, -1, 3, -1, 1, -1, 2, -1}, match));
    EXPECT_TRUE(Detector::findStopPattern({5, -7, 1, -1, 3, -1, 1, -1, 2, -1}, match));
    EXPECT_EQ(match, (Detector::Match{18, 15, 0}));
    EXPECT_FALSE(Detector::findStopPattern({5, -6, 1, -1, 3, -1, 1, -1, 2, -1}, match));
    EXPECT_FALSE(Detector::findStopPattern({}, match));
    // Module width 1: one-module elements may be 0 to 2, the wide space 2 to 4.
    for (short w = 0; w <= 6; ++w) {
        const short d = static_cast<short>(-w);
        EXPECT_EQ(Detector::findStartPattern({-8, w, -1, 1, -1, 1, -1, 3, -2}, match), w <= 2);
        EXPECT_EQ(Detector::findStartPattern({-8, 1, -1, 1, -1, 1, d, 3, -2}, match), w <= 2);
        EXPECT_EQ(Detector::findStartPattern({-8, 1, -1, 1, -1, 1, -1, w, -2}, match),
                  w >= 2 && w <= 4);
    }
}

// Patterns drawn into cluttered rows and squeezed are found where drawn.
TEST(DetectorPatterns, FindsDrawnPatternsAtTheirPixels) {
    std::mt19937 rng(17);
    for (int trial = 0; trial < 400; ++trial) {
        const int module = 1 + static_cast<int>(rng() % 6);
        const int n = 320 + static_cast<int>(rng() % 400);
        std::vector<unsigned char> row(static_cast<std::size_t>(n));
        bool bar = rng() % 2 == 0; // alternating clutter, bars under 7 samples
        for (int x = 0; x < n; bar = !bar) {
            for (int w = 1 + static_cast<int>(rng() % 6); w > 0 && x < n; --w) {
                row[static_cast<std::size_t>(x++)] = bar ? 0 : 255;
            }
        }
        const int startAt = 2 + static_cast<int>(rng() % 40);
        const int stopAt = n - 2 - 18 * module - static_cast<int>(rng() % 40);
        std::fill(row.begin() + startAt - 1, row.begin() + startAt + 17 * module + 1, 255);
        std::fill(row.begin() + stopAt - 1, row.begin() + stopAt + 18 * module + 1, 255);
        draw(row, startAt, kStart, module);
        draw(row, stopAt, kStop, module);
        row[static_cast<std::size_t>(startAt + 17 * module)] = 0; // a bar after the start

        std::vector<short> runs;
        RowUtils::squeeze(row, runs, 127);
        Detector::Match start{};
        ASSERT_TRUE(Detector::findStartPattern(runs, start)) << trial;
        EXPECT_EQ(start, (Detector::Match{static_cast<unsigned>(startAt + 1),
                                          static_cast<unsigned>(startAt + 1 + 4 * module),
                                          static_cast<unsigned>(startAt + 17 * module)}));
        Detector::Match stop{};
        ASSERT_TRUE(Detector::findStopPattern(runs, stop)) << trial;
        EXPECT_EQ(n - static_cast<int>(stop[0]), stopAt);
        EXPECT_EQ(n - static_cast<int>(stop[1]), stopAt + 7 * module / 2);
        EXPECT_EQ(n - static_cast<int>(stop[2]), stopAt + 18 * module);
    }
}

// Rows are searched from the middle out every third row, down to symbols of
// one or two pixel rows; a pattern read right to left gives -1 and its
// outer edge is then the wide bar's last pixel.
TEST(DetectorScanLine, SmallHeightsAndMirroredSymbols) {
    const int width = 80;
    std::vector<unsigned char> pattern(width, 255);
    draw(pattern, 10, kStart, 2); // pixels 10 to 43
    pattern[44] = 0;
    const std::vector<unsigned char> mirrored(pattern.rbegin(), pattern.rend()); // 36 to 69
    Detector detector;
    std::array<Point2D, 3> points;
    const auto scan = [&](int height, int row, bool mirror) {
        std::vector<unsigned char> p(static_cast<std::size_t>(width * height), 255);
        std::copy_n((mirror ? mirrored : pattern).begin(), width, p.begin() + row * width);
        points.fill(Point2D(-1, -1, 1));
        const int found = detector.detectScanLine(Image(p.data(), width, height), points);
        return std::vector<float>{float(found), points[0].x(), points[1].x(), points[2].x(),
                                  points[0].y()};
    };
    // The pattern's first pixel + 1 as squeezed, the wide bar, the end.
    EXPECT_EQ(scan(1, 0, false), (std::vector<float>{0, -1, -1, -1, -1}));
    EXPECT_EQ(scan(2, 1, false), (std::vector<float>{1, 11, 19, 44, 1}));
    EXPECT_EQ(scan(3, 1, false), (std::vector<float>{1, 11, 19, 44, 1}));
    EXPECT_EQ(scan(2, 0, false)[0], 0);
    EXPECT_EQ(scan(3, 2, false)[0], 0);
    // 40 rows: 20, 23, 17, 26, ... are searched, 25 is not.
    EXPECT_EQ(scan(40, 26, true), (std::vector<float>{-1, 69, 61, 36, 26}));
    EXPECT_EQ(scan(40, 25, true)[0], 0);
}

TEST(DetectorFilterPoints, StripsOutliersAndKeepsStraightLists) {
    std::vector<Point2D> eight;    // eight points are left alone, outlier and all
    std::vector<Point2D> straight; // all on one line: full weight, not 0/0
    std::vector<Point2D> columns;  // all equally far from the mean: must still end
    for (int i = 0; i < 40; ++i) {
        if (i < 8) {
            eight.emplace_back(i == 3 ? 90.0f : 10.0f, 3.0f * i, 1.0f);
        }
        straight.emplace_back(42.0f, 3.0f * i, 1.0f);
        columns.emplace_back(i % 2 ? 20.0f : 0.0f, 2.0f * (i / 2), 1.0f);
    }
    Detector::filterPoints(eight);
    ASSERT_EQ(eight.size(), 8u);
    EXPECT_EQ(eight[3].mass(), 1.0f);
    Detector::filterPoints(straight);
    ASSERT_EQ(straight.size(), 40u);
    EXPECT_TRUE(std::all_of(straight.begin(), straight.end(),
                            [](const Point2D& p) { return p.mass() == 1.0f; }));
    Detector::filterPoints(columns);
    EXPECT_FALSE(columns.empty());

    std::mt19937 rng(5);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    for (int trial = 0; trial < 50; ++trial) {
        const float slope = 0.15f * unit(rng);
        std::vector<Point2D> points;
        for (int i = 0; i < 60; ++i) {
            const float outlier = i % 10 == 4 ? 60.0f : 0.0f;
            points.emplace_back(100.0f + slope * 3 * i + 0.5f * unit(rng) + outlier, 3.0f * i, 1);
        }
        Detector::filterPoints(points);
        EXPECT_GE(points.size(), 9u);
        for (const Point2D& p : points) {
            EXPECT_LT(std::fabs(p.x() - (100.0f + slope * p.y())), 5.0f) << trial;
            EXPECT_TRUE(std::isfinite(p.mass()));
        }
    }
}

// Across the bars every corner is within a module of the truth. Along the
// bars the start side's corners (0, 1, 3, 4) lie on edge lines drawn through
// points 5 pixels beyond the start bar's ends, themselves a pixel past the
// bar: they get those 5 pixels plus a module. The stop side has no margin:
// corners 2 and 5 get a module.
void expectCornersNearTruth(const SymbolRenderer::Frame& frame,
                            const std::array<Point2D, 6>& corners, const std::string& label,
                            bool nearOnly = false) {
    const double module = frame.modulePixels;
    const double stop = frame.widthModules - 14.5;
    const double h = frame.heightModules;
    const Vec2 truth[6] = {{0, 0}, {17, 0}, {stop, 0}, {0, h}, {17, h}, {stop, h}};
    for (int i = 0; i < 6; ++i) {
        const bool stopSide = i == 2 || i == 5;
        if (nearOnly && stopSide) {
            continue;
        }
        const AxisError e = axisError(frame, truth[i].x, truth[i].y, corners[i]);
        EXPECT_LE(std::fabs(e.across), module) << label << ", corner " << i;
        EXPECT_LE(std::fabs(e.along), stopSide ? module : 5.0 + module)
            << label << ", corner " << i;
    }
}

// Upright and turned symbols of many sizes, tilted ones, and camera-like
// frames (blur, noise up to 6 gray levels, uneven light). Camera symbols
// stay under 400 pixels high: the start bar's ends are found by binarising
// half the bar as one block, and on a long bar the few light samples barely
// lift the threshold above the bar's noise, so a noisy bar sample passes for
// its end.
TEST(DetectorCorners, GeneratedSymbolsUprightTurnedTiltedAndCameraLike) {
    auto cases = randomCases(2024, 30, 2.0, 6.0, 0.0, 48.0, 30);
    cases.push_back({3, 5, 6.0, 0.0});
    cases.push_back({90, 1, 2.0, 0.0});
    cases.push_back({8, 28, 2.0, 180.0});
    cases.push_back({5, 2, 3.3, 180.0});
    for (const SymbolCase& c : randomCases(88, 24, 2.0, 6.0, 8.0, 120.0, 30)) {
        cases.push_back(c);
    }
    int camera = 0;
    for (SymbolCase c : randomCases(3, 40, 3.0, 5.0, 3.0, 90.0, 12)) {
        if (c.rows * 3 * c.module <= 400.0 && camera++ < 12) {
            c.camera = true;
            cases.push_back(c);
        }
    }
    Detector detector;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const SymbolCase& c = cases[i];
        Pdf417Modules symbol;
        ASSERT_TRUE(makeSymbol(c.rows, c.columns, static_cast<unsigned>(i), symbol));
        auto frame = renderCase(symbol, c, i);
        Image image = frame.image();
        std::array<Point2D, 6> corners;
        ASSERT_TRUE(detector.detect(image, corners)) << c.describe();
        expectCornersNearTruth(frame, corners, c.describe());
        // Turned by 180 degrees: first row at the bottom, start on the right.
        const bool turned = std::fabs(std::remainder(c.rotation, 360.0)) > 90.0;
        EXPECT_EQ(corners[0].y() > corners[3].y(), turned) << c.describe();
        EXPECT_EQ(corners[0].x() > corners[2].x(), turned) << c.describe();
    }
}

TEST(DetectorCorners, CroppedStopSideReachesTheBorder) {
    Pdf417Modules symbol;
    ASSERT_TRUE(makeSymbol(20, 10, 7, symbol));
    const ModuleGrid grid(symbol);
    SymbolRenderer renderer;
    Detector detector;
    for (const bool turned : {false, true}) {
        for (const bool decoy : {false, true}) {
            // The start pattern 130 pixels in, 130 modules of symbol visible.
            SymbolRenderer::Options options;
            options.rotationDegrees = turned ? 180.0 : 0.0;
            options.frameWidth = 530;
            options.frameHeight = 260;
            options.centerX =
                turned ? 530 - 130 - grid.columns() * 1.5 : 130 + grid.columns() * 1.5;
            auto frame = renderer.render(grid, options);
            if (decoy) { // a stop pattern on the start pattern's outer side
                std::vector<unsigned char> row(530, 255);
                draw(row, 10, kStop, 3);
                if (turned) {
                    std::reverse(row.begin(), row.end());
                }
                const int from = turned ? 460 : 0;
                for (int y = 40; y < 220; ++y) {
                    std::copy_n(row.begin() + from, 70, frame.pixels.begin() + y * 530 + from);
                }
            }
            const std::string label =
                std::string(turned ? "turned" : "upright") + (decoy ? ", decoy" : "");
            Image image = frame.image();
            std::array<Point2D, 6> corners;
            ASSERT_TRUE(detector.detect(image, corners)) << label;
            expectCornersNearTruth(frame, corners, label, true);
            // The far corners are on the border (the final clip stops a pixel
            // short on the right), just outside the symbol: the estimate
            // lifts each edge by 5 pixels over five start widths, on top of
            // the start side's margin.
            const float border = turned ? 0.0f : 528.0f;
            for (const int i : {2, 5}) {
                EXPECT_EQ(corners[i].x(), border) << label;
                const double u = std::fabs(border - frame.corners[0].x) / 3.0;
                const double along =
                    axisError(frame, u, i == 2 ? 0 : frame.heightModules, corners[i]).along;
                const double outward = i == 2 ? -along : along;
                EXPECT_GE(outward, 0.0) << label << ", corner " << i;
                EXPECT_LE(outward, 8.0 + 0.05 * u * 3.0) << label << ", corner " << i;
            }
        }
    }
}

TEST(DetectorHooks, ChecksVetoAndObserversSeeEveryHit) {
    Pdf417Modules symbol;
    ASSERT_TRUE(makeSymbol(20, 4, 3, symbol));
    auto frame = renderCase(symbol, {20, 4, 3.0, 0.0});
    Image image = frame.image();
    Detector detector;
    std::array<Point2D, 6> corners;
    std::vector<Point2D> observed;
    detector.pointObservers.push_back([&](Detector&, const Point2D& p) { observed.push_back(p); });
    int checks = 0;
    detector.resultChecks.push_back([&](Detector& self, std::array<Point2D, 6>& seen) {
        ++checks;
        return &self == &detector && &seen == &corners;
    });
    ASSERT_TRUE(detector.detect(image, corners));
    EXPECT_EQ(checks, 1);
    // Three points per hit; every start hit but the scan line's own is seen.
    EXPECT_EQ(observed.size() % 3, 0u);
    const auto& outer = detector.startOuterPoints();
    for (std::size_t i = 1; i < outer.size(); ++i) {
        EXPECT_TRUE(std::any_of(observed.begin(), observed.end(), [&](const Point2D& p) {
            return p.x() == outer[i].x() && p.y() == outer[i].y();
        })) << i;
    }
    detector.resultChecks.push_back([](Detector&, std::array<Point2D, 6>&) { return false; });
    EXPECT_FALSE(detector.detect(image, corners));
}

TEST(DetectorNoSymbol, EmptyNoiseTextStripesAndTooShortSymbolsAreRefused) {
    Detector detector;
    std::array<Point2D, 6> corners;
    Pdf417Modules symbol; // 4 rows of 3 modules at 3 pixels: under 8 hits
    ASSERT_TRUE(makeSymbol(4, 6, 1, symbol));
    auto frame = renderCase(symbol, {4, 6, 3.0, 0.0});
    Image shortSymbol = frame.image();
    EXPECT_FALSE(detector.detect(shortSymbol, corners));
    EXPECT_LT(detector.startOuterPoints().size(), 8u);
    for (const auto& shape : {std::pair<unsigned, unsigned>{0, 0}, {0, 9}, {9, 0}}) {
        Image empty(nullptr, shape.first, shape.second);
        EXPECT_FALSE(detector.detect(empty, corners));
    }
    std::mt19937 rng(9);
    std::vector<unsigned char> text(640 * 480, 230); // lines of 1 to 4 pixel strokes
    for (int y = 20; y + 16 < 480; y += 28) {
        for (int x = 10, stroke = 1; x < 620; x += stroke + 2 + static_cast<int>(rng() % 6)) {
            stroke = 1 + static_cast<int>(rng() % 4);
            for (int i = 0; i < 14; ++i) {
                std::fill_n(text.begin() + (y + i) * 640 + x, stroke, 20);
            }
        }
    }
    std::vector<std::vector<unsigned char>> frames = {
        std::vector<unsigned char>(640 * 480, 0), std::vector<unsigned char>(640 * 480, 255),
        std::vector<unsigned char>(640 * 480), text, std::vector<unsigned char>(640 * 480)};
    for (std::size_t i = 0; i < frames[2].size(); ++i) {
        frames[2][i] = static_cast<unsigned char>(rng()); // noise
        frames[4][i] = (i % 640) / 9 % 2 ? 230 : 20;      // even stripes
    }
    for (std::size_t f = 0; f < frames.size(); ++f) {
        Image image(frames[f].data(), 640, 480);
        EXPECT_FALSE(detector.detect(image, corners)) << "frame " << f;
    }
}

// Frames of any shape and content: detect stays inside the frame (the
// sanitizer build checks every access), ends, and reports only finite
// corners with the near ones inside the frame.
TEST(DetectorNoSymbol, AnyFrameIsSafe) {
    std::mt19937 rng(31);
    Detector detector;
    std::array<Point2D, 6> corners;
    const std::pair<unsigned, unsigned> shapes[] = {{1, 1},   {1, 500},  {500, 1},   {2, 2},
                                                    {3, 3},   {17, 9},   {70000, 3}, {3, 20000},
                                                    {320, 4}, {200, 150}};
    for (int trial = 0; trial < 40; ++trial) {
        const auto [w, h] = shapes[trial % 10];
        std::vector<unsigned char> pixels(static_cast<std::size_t>(w) * h);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::size_t x = i % w;
            pixels[i] = trial % 4 == 0   ? static_cast<unsigned char>(rng())
                        : trial % 4 == 1 ? (((x * 2654435761u) >> 7) % 3 ? 255 : 0) // bars
                        : trial % 4 == 2 ? (x % 32 < 8 ? 0 : 255)
                                         : (rng() % 2 ? 0 : 255);
        }
        if (w >= 200) { // real start and stop patterns on some rows
            std::vector<unsigned char> row(w, 255);
            draw(row, 5, kStart, 2);
            draw(row, static_cast<int>(w) - 60, kStop, 2);
            for (unsigned y = 0; y < h; y += 1 + rng() % 3) {
                std::copy(row.begin(), row.end(), pixels.begin() + y * w);
            }
        }
        Image image(pixels.data(), w, h);
        if (detector.detect(image, corners)) {
            for (int i = 0; i < 6; ++i) {
                EXPECT_TRUE(std::isfinite(corners[i].x()) && std::isfinite(corners[i].y()));
                if (i != 2 && i != 5) {
                    EXPECT_TRUE(GeometryUtils::testPoint(0, 0, w - 1.0f, h - 1.0f, corners[i]));
                }
            }
        }
    }
}

} // namespace
} // namespace pdf417::test
