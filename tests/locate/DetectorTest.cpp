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

// Crafted, pixel-exact frames 300 pixels wide: each row holds the start
// pattern (module 2, pixels 60 to 93, and a bar after it), the stop pattern
// (pixels 240 to 275), both or neither; optionally a decoy stop pattern on
// the start pattern's outer side (pixels 10 to 45) of every row that holds
// anything; mirrored frames read right to left.
enum RowKind { kBlank = 0, kStartRow = 1, kStopRow = 2, kBoth = 3 };
constexpr int kWidth = 300;
constexpr int kStartAt = 60;
constexpr int kStopAt = 240;

std::vector<unsigned char> craftFrame(const std::vector<int>& kinds, bool mirror, bool decoy) {
    std::vector<unsigned char> pixels;
    for (const int kind : kinds) {
        std::vector<unsigned char> row(kWidth, 255);
        if (kind & kStartRow) {
            draw(row, kStartAt, {8, 1, 1, 1, 1, 1, 1, 3, 1}, 2);
        }
        if (kind & kStopRow) {
            draw(row, kStopAt, kStop, 2);
        }
        if (decoy && kind != kBlank) {
            draw(row, 10, kStop, 2);
        }
        if (mirror) {
            std::reverse(row.begin(), row.end());
        }
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    return pixels;
}

std::vector<float> rowsOf(const std::vector<Point2D>& points) {
    std::vector<float> rows;
    for (const Point2D& p : points) {
        rows.push_back(p.y());
    }
    return rows;
}

// The rows whose hits the detector keeps, by its scan rules: the first row
// holding a start pattern, searched from the middle outwards every third
// row; then rows 3, 9, 15, ... below it and 6, 12, 18, ... above it, each
// side giving up after 9 rows in a row without a start pattern, or after 4
// once a row showed the stop pattern (rows outside the frame count too).
void scanRule(const std::vector<int>& kinds, std::vector<float>& starts,
              std::vector<float>& stops) {
    const int height = static_cast<int>(kinds.size());
    int base = -1;
    for (int offset = 0; offset < height / 2 && base < 0; offset += 3) {
        for (const int row : {height / 2 + offset, height / 2 - offset}) {
            base = base < 0 && (kinds[row] & kStartRow) ? row : base;
        }
    }
    if (base < 0) {
        return;
    }
    starts.push_back(float(base));
    int budget[2] = {10, 10}; // below, above
    for (int offset = 3; budget[0] > 0 || budget[1] > 0; offset += 3) {
        const int side = offset % 2 == 0 ? 1 : 0;
        const int row = side == 1 ? base - offset : base + offset;
        budget[side] = std::max(0, budget[side] - 1);
        if (budget[side] == 0 || row < 0 || row >= height) {
            continue;
        }
        if (kinds[row] & kStartRow) {
            starts.push_back(float(row));
            budget[side] = 10;
        }
        if (kinds[row] & kStopRow) {
            stops.push_back(float(row));
            budget[side] = 5;
        }
    }
}

// Frames of bands of each kind, gaps around the length the budgets allow.
TEST(DetectorRowScan, KeepsTheHitsOfExactlyTheRowsItsRulesVisit) {
    std::mt19937 rng(41);
    Detector detector;
    std::array<Point2D, 6> corners;
    int found = 0;
    for (int trial = 0; trial < 300; ++trial) {
        const auto height = static_cast<std::size_t>(30 + rng() % 240);
        std::vector<int> kinds;
        while (kinds.size() < height) {
            const int kind = std::vector<int>{kBoth, kBoth, kStartRow, kBlank, kStopRow}[rng() % 5];
            kinds.insert(kinds.end(), 1 + rng() % (kind == kBlank ? 70 : 40), kind);
        }
        kinds.resize(height);
        std::vector<unsigned char> pixels = craftFrame(kinds, rng() % 2 == 0, false);
        std::vector<float> starts;
        std::vector<float> stops;
        scanRule(kinds, starts, stops);
        const Image image(pixels.data(), kWidth, static_cast<unsigned>(height));
        const bool ok = detector.detect(image, corners);
        found += ok ? 1 : 0;
        if (starts.empty()) {
            EXPECT_FALSE(ok);
            continue;
        }
        ASSERT_EQ(rowsOf(detector.startOuterPoints()), starts) << trial;
        ASSERT_EQ(rowsOf(detector.stopCenterPoints()), stops) << trial;
        EXPECT_TRUE(starts.size() >= 8 || !ok) << trial;
    }
    EXPECT_GT(found, 100);
}

// Line through (x1, y1) and (x2, y2), at x.
double lineAt(double x1, double y1, double x2, double y2, double x) {
    return y1 + (y2 - y1) * (x - x1) / (x2 - x1);
}

// On crafted frames with one band of rows holding the patterns, every corner
// is where the rules put it. The bars' ends are the first light rows beyond
// them, shifted by the fraction of the mean row of their hits (the walk
// starts there); the edges pass 5 pixels beyond the start bar's ends and
// through the stop bar's ends, or, with no stop pattern, rise by 5 pixels at
// five start-pattern widths from the outer edge; the far corners are then on
// the border, the right one a pixel in from the last column.
TEST(DetectorCorners, CraftedFramesGiveExactCorners) {
    struct Case {
        int height, top, bottom;
        bool stop, mirror, decoy;
    };
    const Case cases[] = {{160, 40, 119, true, false, false}, {160, 40, 119, true, true, false},
                          {160, 40, 119, false, false, true}, {160, 40, 119, false, true, true},
                          {90, 21, 70, true, false, true},    {90, 21, 70, false, true, false}};
    Detector detector;
    std::array<Point2D, 6> corners;
    for (const Case& c : cases) {
        std::vector<int> kinds(static_cast<std::size_t>(c.height), kBlank);
        std::fill(kinds.begin() + c.top, kinds.begin() + c.bottom + 1, c.stop ? kBoth : kStartRow);
        std::vector<unsigned char> pixels = craftFrame(kinds, c.mirror, c.decoy);
        const Image image(pixels.data(), kWidth, static_cast<unsigned>(c.height));
        SCOPED_TRACE(::testing::Message()
                     << c.height << (c.stop ? " stop" : "") << (c.mirror ? " mirror" : "")
                     << (c.decoy ? " decoy" : ""));
        ASSERT_TRUE(detector.detect(image, corners));
        // Where the matchers put the edges (upright: a squeezed line's first
        // run is one sample long, so the outer edge is the bar's second
        // pixel; mirrored, the stop pattern is measured from the end).
        const double xo = c.mirror ? kWidth - 1 - kStartAt : kStartAt + 1;
        const double xs = c.mirror ? xo - 8 : xo + 8;
        const double xi = c.mirror ? kWidth - kStartAt - 34 : kStartAt + 34;
        const double xq = c.mirror ? kWidth - kStopAt + 1 - 7 : kStopAt - 1 + 7;
        const double xe = xo + 5 * (xi - xo);
        const auto ends = [&](const std::vector<Point2D>& hits, double& top, double& bottom) {
            double mean = 0;
            for (const Point2D& p : hits) {
                mean += p.y() / static_cast<double>(hits.size());
            }
            top = c.top - 1 + (mean - std::floor(mean));
            bottom = c.bottom + 1 + (mean - std::floor(mean));
        };
        double startTop, startBottom, stopTop = 0, stopBottom = 0;
        ends(detector.startOuterPoints(), startTop, startBottom);
        if (c.stop) {
            ends(detector.stopCenterPoints(), stopTop, stopBottom);
        } else {
            EXPECT_TRUE(detector.stopCenterPoints().empty());
        }
        const auto top = [&](double x) {
            return c.stop ? lineAt(xs, startTop - 5, xq, stopTop, x)
                          : lineAt(xs, startTop - 5, xe, startTop - 10, x);
        };
        const auto bottom = [&](double x) {
            return c.stop ? lineAt(xs, startBottom + 5, xq, stopBottom, x)
                          : lineAt(xs, startBottom + 5, xe, startBottom + 10, x);
        };
        const double xf = c.stop ? xq : c.mirror ? 0 : kWidth - 2;
        const double xs3[3] = {xo, xi, xf};
        for (int i = 0; i < 6; ++i) {
            const bool firstEdge = i < 3;
            const double x = xs3[i % 3];
            const double y = firstEdge != c.mirror ? top(x) : bottom(x);
            EXPECT_NEAR(corners[i].x(), x, 0.02) << "corner " << i;
            EXPECT_NEAR(corners[i].y(), y, 0.02) << "corner " << i;
        }
    }
}

// The point filter's rule, in double: while 9 or more points are left, weigh
// each by s / (s + d^2), d being its distance from the current line and s
// the RMS of the distances; stop once s is under 2, else drop every point
// farther than s and refit with the weights (the first line is upright
// through the mean). False when s or a distance lies too near a threshold
// for float and double to agree.
bool filterRule(std::vector<Point2D>& points) {
    double a = 1, b = 0, c = -GeometryUtils::calculateMean(points).x();
    while (points.size() >= 9) {
        const auto distance = [&](const Point2D& p) {
            return std::fabs(a * p.x() + b * p.y() + c);
        };
        double squares = 0;
        for (const Point2D& p : points) {
            squares += distance(p) * distance(p);
        }
        const double s = std::sqrt(squares / static_cast<double>(points.size()));
        for (Point2D& p : points) {
            if (std::fabs(distance(p) - s) < 1e-3 * s) {
                return false;
            }
            p.setMass(static_cast<float>(s / (s + distance(p) * distance(p))));
        }
        if (std::fabs(s - 2) < 1e-3) {
            return false;
        }
        if (s < 2) {
            break;
        }
        points.erase(std::remove_if(points.begin(), points.end(),
                                    [&](const Point2D& p) { return distance(p) > s; }),
                     points.end());
        const Line2D line = GeometryUtils::approximateLine(points, 0.0001f);
        a = line.A();
        b = line.B();
        c = line.C();
    }
    return true;
}

TEST(DetectorFilterPoints, StripsExactlyThePointsItsRuleStrips) {
    std::vector<Point2D> straight; // all on one line: full weight, not 0/0
    std::vector<Point2D> columns;  // all equally far from the mean: must still end
    for (int i = 0; i < 40; ++i) {
        straight.emplace_back(42.0f, 3.0f * i, 1.0f);
        columns.emplace_back(i % 2 ? 20.0f : 0.0f, 2.0f * (i / 2), 1.0f);
    }
    Detector::filterPoints(straight);
    ASSERT_EQ(straight.size(), 40u);
    EXPECT_TRUE(std::all_of(straight.begin(), straight.end(),
                            [](const Point2D& p) { return p.mass() == 1.0f; }));
    Detector::filterPoints(columns);
    EXPECT_FALSE(columns.empty());

    // Bar edges of random slope with noise and outliers, 8 to 60 points.
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    int checked = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const float slope = 0.3f * unit(rng);
        const float noise = 0.5f + 3.0f * std::fabs(unit(rng));
        const int count = 8 + static_cast<int>(rng() % 53);
        std::vector<Point2D> points;
        for (int i = 0; i < count; ++i) {
            const float outlier = rng() % 8 == 0 ? 80.0f * unit(rng) : 0.0f;
            points.emplace_back(100.0f + slope * 3 * i + noise * unit(rng) + outlier, 3.0f * i,
                                1.0f);
        }
        std::vector<Point2D> expected = points;
        if (!filterRule(expected)) {
            continue;
        }
        ++checked;
        Detector::filterPoints(points);
        ASSERT_EQ(points.size(), expected.size()) << trial;
        for (std::size_t i = 0; i < points.size(); ++i) {
            ASSERT_EQ(points[i].y(), expected[i].y()) << trial;
            ASSERT_NEAR(points[i].mass(), expected[i].mass(), 1e-4) << trial;
        }
    }
    EXPECT_GT(checked, 350);
}

// Across the bars every corner is within a module of the truth. Along the
// bars the start side's corners (0, 1, 3, 4) lie on edge lines drawn through
// points 5 pixels beyond the start bar's ends, themselves a pixel past the
// bar: they get those 5 pixels plus a module. The stop side has no margin:
// corners 2 and 5 get a module.
void expectCornersNearTruth(const SymbolRenderer::Frame& frame,
                            const std::array<Point2D, 6>& corners, const std::string& label) {
    const double module = frame.modulePixels;
    const double stop = frame.widthModules - 14.5;
    const double h = frame.heightModules;
    const Vec2 truth[6] = {{0, 0}, {17, 0}, {stop, 0}, {0, h}, {17, h}, {stop, h}};
    for (int i = 0; i < 6; ++i) {
        const bool stopSide = i == 2 || i == 5;
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
    auto cases = randomCases(2024, 10, 2.0, 6.0, 0.0, 48.0, 30);
    cases.push_back({3, 5, 6.0, 0.0});
    cases.push_back({90, 1, 2.0, 0.0});
    cases.push_back({8, 28, 2.0, 180.0});
    cases.push_back({5, 2, 3.3, 180.0});
    for (const SymbolCase& c : randomCases(88, 8, 2.0, 6.0, 8.0, 120.0, 30)) {
        cases.push_back(c);
    }
    int camera = 0;
    for (SymbolCase c : randomCases(3, 40, 3.0, 5.0, 3.0, 90.0, 12)) {
        if (c.rows * 3 * c.module <= 400.0 && camera++ < 5) {
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
