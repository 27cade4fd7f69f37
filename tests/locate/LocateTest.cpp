// Detector and cutter: crafted frames against their rules, renders against the truth.
#include "pdf417scan/imaging/GeometryUtils.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/imaging/Line2D.h"
#include "pdf417scan/imaging/Point2D.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace pdf417::test {
namespace {

// A symbol of exactly rows x dataColumns from libzint, filled with text.
bool makeSymbol(int rows, int dataColumns, unsigned seed, Pdf417Modules& out) {
    std::mt19937 rng(seed);
    std::string message;
    return encodeMessageSymbol(MessageKind::Text, rows, dataColumns,
                               rows * dataColumns >= 64 ? 2 : 0, 1.0, rng, message, out);
}

// Symbols the detector can find: at least minHeight pixels high (8 start
// hits on rows 3 apart; a tilt costs 40 % of them), drifting across by at
// most half their height, in frames under a quarter megapixel.
std::vector<SymbolCase> randomCases(unsigned seed, int count, double minModule, double maxModule,
                                    double maxTilt, double minHeight, int maxColumns = 28) {
    std::mt19937 rng(seed);
    std::vector<SymbolCase> cases;
    while (static_cast<int>(cases.size()) < count) {
        SymbolCase c;
        c.rows = 3 + static_cast<int>(rng() % 88);
        c.columns = 1 + static_cast<int>(rng() % static_cast<unsigned>(maxColumns));
        c.module = std::uniform_real_distribution<double>(minModule, maxModule)(rng);
        c.rotation = (rng() % 2 ? 180.0 : 0.0) +
                     std::uniform_real_distribution<double>(-1, 1)(rng) * maxTilt;
        const double height = c.rows * 3.0;
        const double width = c.columns * 17.0 + 69.0;
        const double drift = width * std::fabs(std::sin(c.rotation * 3.14159265358979 / 180.0));
        if (c.rows * c.columns <= 928 && height * c.module >= minHeight &&
            (width + 20) * (height + 20 + drift) * c.module * c.module < 0.25e6 &&
            drift <= height / 2) {
            cases.push_back(c);
        }
    }
    return cases;
}

// Position error in pixels of a found point against the truth at symbol
// coordinates (u, v), along the symbol's axis (du, dv).
double axisError(const SymbolRenderer::Frame& frame, double u, double v, double du, double dv,
                 const Point2D& found) {
    const Vec2 p = frame.toFrame(u, v);
    const Vec2 q = frame.toFrame(u + du, v + dv);
    return ((found.x() - p.x) * (q.x - p.x) + (found.y() - p.y) * (q.y - p.y)) /
           std::hypot(q.x - p.x, q.y - p.y);
}

// Distance in pixels from p to the infinite line through a segment's ends.
double lineDistance(const std::pair<Point2D, Point2D>& line, const Vec2& p) {
    const Line2D l(line.first, line.second);
    return std::fabs(l.A() * p.x + l.B() * p.y + l.C()) / std::hypot(l.A(), l.B());
}

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

// Pixel-exact rows 300 wide: start pattern (module 2) at 60, stop pattern at
// 240, both or neither; a decoy stop pattern at 10, outside the start.
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

// The rows whose hits the scan rules keep: the first start row from the
// middle out, every third row; then 3, 9, 15, ... below it and 6, 12, ...
// above, a side giving up after 9 rows without a start pattern, or 4 after
// one with a stop pattern (rows outside the frame count too).
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

// Bands of each kind, gaps near what the budgets allow, frames down to one
// row: exactly the visited rows' hits are kept, at the edges' pixels, and
// the observers see each but the scan row's own.
TEST(DetectorRowScan, KeepsTheHitsOfExactlyTheRowsItsRulesVisit) {
    std::mt19937 rng(41);
    Detector detector;
    std::array<Point2D, 6> corners;
    std::size_t observed = 0;
    detector.pointObservers.push_back([&](Detector&, const Point2D&) { ++observed; });
    int found = 0;
    for (int trial = 0; trial < 300; ++trial) {
        const auto height =
            static_cast<std::size_t>(trial % 10 == 0 ? 1 + trial / 10 % 13 : 30 + rng() % 240);
        std::vector<int> kinds;
        while (kinds.size() < height) {
            const int kind = std::vector<int>{kBoth, kBoth, kStartRow, kBlank, kStopRow}[rng() % 5];
            kinds.insert(kinds.end(), 1 + rng() % (kind == kBlank ? 70 : 40), kind);
        }
        kinds.resize(height);
        const bool mirror = rng() % 2 == 0;
        std::vector<unsigned char> pixels = craftFrame(kinds, mirror, false);
        std::vector<float> starts;
        std::vector<float> stops;
        scanRule(kinds, starts, stops);
        const Image image(pixels.data(), kWidth, static_cast<unsigned>(height));
        std::array<Point2D, 3> scan;
        const int dir = detector.detectScanLine(image, scan);
        EXPECT_EQ(dir, starts.empty() ? 0 : mirror ? -1 : 1) << trial;
        EXPECT_TRUE(dir == 0 || (!starts.empty() && scan[0].y() == starts[0])) << trial;
        observed = 0;
        const bool ok = detector.detect(image, corners);
        found += ok ? 1 : 0;
        if (starts.empty()) {
            EXPECT_FALSE(ok);
            continue;
        }
        ASSERT_EQ(rowsOf(detector.startOuterPoints()), starts) << trial;
        ASSERT_EQ(rowsOf(detector.stopCenterPoints()), stops) << trial;
        EXPECT_EQ(observed, 3 * (starts.size() - 1 + stops.size())) << trial;
        EXPECT_TRUE(starts.size() >= 8 || !ok) << trial;
        const float x[3] = {mirror ? 239.0f : 61.0f, mirror ? 206.0f : 94.0f,
                            mirror ? 54.0f : 246.0f};
        for (const auto& [list, at] : {std::pair{&detector.startOuterPoints(), x[0]},
                                       {&detector.startInnerPoints(), x[1]},
                                       {&detector.stopCenterPoints(), x[2]}}) {
            EXPECT_TRUE(std::all_of(list->begin(), list->end(), [&](const Point2D& p) {
                return p.x() == at;
            })) << trial;
        }
    }
    EXPECT_GT(found, 100);
}

// One band of pattern rows: a bar's ends are the light rows beyond it, plus
// the fraction of its hits' mean row; edges pass 5 pixels beyond the start
// bar's ends and through the stop bar's, or rise 5 pixels at five start
// widths out to far corners on the border (the right one a pixel in). Eight
// hits are enough, seven not; result checks see each result and can refuse.
TEST(DetectorCorners, CraftedFramesGiveExactCorners) {
    struct Case {
        int height, top, bottom;
        bool stop, mirror, decoy;
    };
    const Case cases[] = {{160, 40, 119, true, false, false}, {160, 40, 119, true, true, false},
                          {160, 40, 119, false, false, true}, {160, 40, 119, false, true, true},
                          {90, 21, 70, true, false, true},    {160, 56, 100, false, true, false},
                          {160, 57, 100, false, true, false}};
    Detector detector;
    std::array<Point2D, 6> corners;
    int checks = 0;
    detector.resultChecks.push_back([&](Detector& self, std::array<Point2D, 6>& seen) {
        return ++checks > 0 && &self == &detector && &seen == &corners;
    });
    for (const Case& c : cases) {
        std::vector<int> kinds(static_cast<std::size_t>(c.height), kBlank);
        std::fill(kinds.begin() + c.top, kinds.begin() + c.bottom + 1, c.stop ? kBoth : kStartRow);
        std::vector<unsigned char> pixels = craftFrame(kinds, c.mirror, c.decoy);
        const Image image(pixels.data(), kWidth, static_cast<unsigned>(c.height));
        SCOPED_TRACE(::testing::Message()
                     << c.height << " " << c.top << (c.stop ? " stop" : "")
                     << (c.mirror ? " mirror" : "") << (c.decoy ? " decoy" : ""));
        if (c.top == 57) { // seven hits
            EXPECT_FALSE(detector.detect(image, corners));
            detector.resultChecks.push_back(
                [](Detector&, std::array<Point2D, 6>&) { return false; });
            std::copy_n(pixels.begin() + 57 * kWidth, kWidth, pixels.begin() + 56 * kWidth);
            EXPECT_FALSE(detector.detect(image, corners));
            EXPECT_EQ(checks, 7);
            continue;
        }
        ASSERT_TRUE(detector.detect(image, corners));
        // Upright, a squeezed line's first run is a sample too long: the outer
        // edge is the bar's second pixel; mirrored, the stop is measured from
        // the line's end.
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
        ends(detector.stopCenterPoints(), stopTop, stopBottom);
        EXPECT_EQ(detector.stopCenterPoints().empty(), !c.stop);
        const auto edge = [&](bool top, double x) {
            const double y = top ? startTop - 5 : startBottom + 5;
            // Through (xs, y) and the stop bar's end, or 5 pixels on at xe.
            const double x2 = c.stop ? xq : xe;
            const double y2 = c.stop ? (top ? stopTop : stopBottom) : (top ? y - 5 : y + 5);
            return y + (y2 - y) * (x - xs) / (x2 - xs);
        };
        const double xf = c.stop ? xq : c.mirror ? 0 : kWidth - 2;
        for (int i = 0; i < 6; ++i) {
            const double x = i % 3 == 0 ? xo : i % 3 == 1 ? xi : xf;
            EXPECT_NEAR(corners[i].x(), x, 0.02) << "corner " << i;
            EXPECT_NEAR(corners[i].y(), edge((i < 3) != c.mirror, x), 0.02) << "corner " << i;
        }
    }
}

// The point filter's rule: while 9 or more points are left, weigh each by
// s / (s + d^2), d its distance from the line (first upright through the
// mean) and s their RMS; stop once s is under 2, else drop the points
// farther than s and refit. False when float and double might disagree.
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
        if (s < 2 + 1e-3) {
            return s < 2 - 1e-3;
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
    // All exactly 2 from the first line (through the mean): at 2 the line is
    // refitted, and the weights then differ.
    std::vector<Point2D> two;
    for (int i = 0; i < 10; ++i) {
        two.emplace_back(i % 2 ? 102.0f : 98.0f, 5.0f * i, 1.0f);
    }
    Detector::filterPoints(two);
    EXPECT_NE(two[0].mass(), two[4].mass());

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

// Rendered symbols upright, turned, tilted and camera-like (under 400 pixels
// high: on a longer bar the one-block binarisation that finds its ends takes
// noise for an end): corners within a module of the truth, plus the 5-pixel
// margin along the bars on the start side.
TEST(DetectorCorners, GeneratedSymbolsUprightTurnedTiltedAndCameraLike) {
    auto cases = randomCases(2024, 10, 2.0, 6.0, 0.0, 48.0, 30);
    const auto tilted = randomCases(88, 8, 2.0, 6.0, 8.0, 120.0, 30);
    cases.insert(cases.end(), tilted.begin(), tilted.end());
    cases.insert(cases.end(),
                 {{3, 5, 6.0, 0.0}, {90, 1, 2.0, 0.0}, {8, 28, 2.0, 180.0}, {5, 2, 3.3, 180.0}});
    for (SymbolCase c : randomCases(3, 40, 3.0, 5.0, 3.0, 90.0, 12)) {
        c.camera = true;
        if (c.rows * 3 * c.module <= 400.0 && cases.size() < 27) {
            cases.push_back(c);
        }
    }
    Detector detector;
    std::array<Point2D, 6> corners;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const SymbolCase& c = cases[i];
        Pdf417Modules symbol;
        ASSERT_TRUE(makeSymbol(c.rows, c.columns, static_cast<unsigned>(i), symbol));
        auto frame = renderCase(symbol, c, i);
        ASSERT_TRUE(detector.detect(frame.image(), corners)) << c.describe();
        const double u[3] = {0, 17, frame.widthModules - 14.5};
        for (int k = 0; k < 6; ++k) {
            const double v = k < 3 ? 0 : frame.heightModules;
            EXPECT_LE(std::fabs(axisError(frame, u[k % 3], v, 1, 0, corners[k])),
                      frame.modulePixels)
                << c.describe() << ", corner " << k;
            EXPECT_LE(std::fabs(axisError(frame, u[k % 3], v, 0, 1, corners[k])),
                      frame.modulePixels + (k % 3 == 2 ? 0 : 5))
                << c.describe() << ", corner " << k;
        }
        // Turned by 180 degrees: first row at the bottom, start on the right.
        const bool turned = std::fabs(std::remainder(c.rotation, 360.0)) > 90.0;
        EXPECT_EQ(corners[0].y() > corners[3].y(), turned) << c.describe();
        EXPECT_EQ(corners[0].x() > corners[2].x(), turned) << c.describe();
    }
}

// Frames of any shape and content, empty ones included: detect stays inside
// the frame (the sanitizer build checks every access), ends, and reports
// only finite corners with the near ones inside the frame.
TEST(DetectorNoSymbol, AnyFrameIsSafe) {
    std::mt19937 rng(31);
    Detector detector;
    std::array<Point2D, 6> corners;
    const std::pair<unsigned, unsigned> shapes[] = {{1, 1},   {1, 500},   {500, 1},   {2, 2},
                                                    {3, 3},   {17, 9},    {70000, 3}, {3, 20000},
                                                    {320, 4}, {200, 150}, {0, 0},     {0, 9}};
    for (int trial = 0; trial < 48; ++trial) {
        const auto [w, h] = shapes[trial % 12];
        std::vector<unsigned char> pixels(static_cast<std::size_t>(w) * h);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::size_t x = i % w;
            pixels[i] = trial % 4 == 0   ? static_cast<unsigned char>(rng())
                        : trial % 4 == 1 ? (((x * 2654435761u) >> 7) % 3 ? 255 : 0) // bars
                        : trial % 4 == 2 ? (x % 32 < 8 ? 0 : 255)
                                         : (rng() % 2 ? 0 : 255);
        }
        for (unsigned y = 0; w >= 200 && y < h; y += 1 + rng() % 3) { // real patterns
            draw(pixels, static_cast<int>(y * w + 5), kStart, 2);
            draw(pixels, static_cast<int>(y * w + w - 60), kStop, 2);
        }
        const bool found = detector.detect(Image(pixels.data(), w, h), corners);
        for (int i = 0; found && i < 6; ++i) {
            EXPECT_TRUE(std::isfinite(corners[i].x()) && std::isfinite(corners[i].y()));
            EXPECT_TRUE(i % 3 == 2 ||
                        GeometryUtils::testPoint(0, 0, w - 1.0f, h - 1.0f, corners[i]));
        }
        EXPECT_TRUE(w > 0 || !found);
    }
}

// Short, flat, of deviation 4, dark to the left end or light to the right
// end: no edge. With one rise into a bar, the reference (one past the
// middle) moves onto the bar's first sample if dark, else the one before.
TEST(CutterFindAge, LandsNextToTheRise) {
    Cutter cutter;
    using Profile = std::vector<unsigned char>;
    for (const Profile& none :
         {Profile{}, Profile{0}, Profile{0, 255}, Profile(9, 100),
          Profile{96, 104, 96, 104, 96, 104, 96, 104, 96}, Profile{0, 0, 0, 0, 0, 0, 255, 255, 255},
          Profile{0, 0, 255, 255, 255, 255, 255, 255, 255},
          Profile{255, 255, 255, 255, 255, 255, 0, 0, 0}}) {
        EXPECT_EQ(cutter.findAge(none), 0) << none.size();
    }
    EXPECT_EQ(cutter.findAge({255, 255, 255, 0, 0, 0, 0, 255, 255}), -2);
    EXPECT_EQ(cutter.findAge({0, 0, 0, 0, 0, 255, 255, 255, 0}), 2);
    EXPECT_EQ(cutter.findAge({200, 200, 200, 100, 100, 100, 0, 0, 0}), -2); // the mean is dark
    std::mt19937 rng(11);
    for (int trial = 0; trial < 2000; ++trial) {
        const int size = 4 + static_cast<int>(rng() % 40);
        const int rise = 1 + static_cast<int>(rng() % static_cast<unsigned>(size - 1));
        Profile profile(static_cast<std::size_t>(size), static_cast<unsigned char>(rng() % 100));
        std::fill_n(profile.begin(), rise, static_cast<unsigned char>(150 + rng() % 100));
        const int reference = size / 2 + 1;
        EXPECT_EQ(reference + cutter.findAge(profile), reference >= rise ? rise : rise - 1)
            << "size " << size << ", rise " << rise;
    }
}

// Rendered symbols cut into one line per boundary (at most 31), within half
// a module of the truth from 5 pixels per module; below, the edge convention
// costs up to 2 pixels plus anti-aliasing (2.9 px seen at 2.5). The hooks
// see the list and the 30 edge points per new line, all near their line.
TEST(CutterLines, OneLinePerBoundaryNearTheTruth) {
    std::vector<std::pair<SymbolCase, unsigned>> cases; // and the seed
    for (const auto& [seed, from, to] : {std::tuple{7u, 5.0, 6.0}, {8u, 2.5, 5.0}}) {
        const auto some = randomCases(seed, seed == 7 ? 8 : 10, from, to, 3.0, 120.0);
        for (std::size_t i = 0; i < some.size(); ++i) {
            cases.emplace_back(some[i], static_cast<unsigned>(i));
        }
    }
    cases.emplace_back(SymbolCase{12, 30, 4.0, 0.0}, 1);
    Detector detector;
    Cutter cutter;
    std::vector<Point2D> points;
    cutter.pointHooks.push_back([&](Cutter&, const Point2D& p) { points.push_back(p); });
    std::size_t seen = 0;
    cutter.lineHooks.push_back([&](Cutter& self, Cutter::Lines& lines) {
        seen = lines.size();
        return &self == &cutter;
    });
    for (const auto& [c, seed] : cases) {
        Pdf417Modules symbol;
        ASSERT_TRUE(makeSymbol(c.rows, c.columns, seed, symbol));
        auto frame = renderCase(symbol, c, seed);
        Image image = frame.image();
        std::array<Point2D, 6> corners;
        Cutter::Lines lines;
        points.clear();
        ASSERT_TRUE(detector.detect(image, corners) && cutter.cut(image, corners, lines))
            << c.describe();
        EXPECT_EQ(lines.size(), static_cast<std::size_t>(std::min(c.columns + 3, 31)))
            << c.describe();
        double worst = 0.0;
        for (std::size_t k = 0; k < lines.size(); ++k) {
            for (const double t : {0.0, 0.5, 1.0}) {
                const Vec2 p = frame.toFrame(17.0 * (k + 1), t * frame.heightModules);
                worst = std::max(worst, lineDistance(lines[k], p));
            }
        }
        EXPECT_LE(worst, c.module >= 5.0 ? 0.5 * c.module : 3.0) << c.describe();
        EXPECT_EQ(seen, lines.size());
        ASSERT_EQ(points.size(), 30 * (lines.size() - 1));
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_LE(lineDistance(lines[1 + i / 30], {points[i].x(), points[i].y()}), 2.0) << i;
        }
        if (&c == &cases.back().first) { // the last: a vetoing hook
            cutter.lineHooks.push_back([](Cutter&, Cutter::Lines&) { return false; });
            EXPECT_FALSE(cutter.cut(image, corners, lines));
        }
    }
}

// These refusals are our guard: a NaN or infinite corner would make every
// line NaN, and turning NaN into a pixel index is undefined, so the cut gives
// up instead.
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
