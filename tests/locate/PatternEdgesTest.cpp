// The precise chain's locating stages against the renderer's truth: every
// start and stop hit lies on the pattern's true outer and inner edges with
// the true module, in every scan direction, and the edge lines fitted to
// them run along the true edges; stray matches elsewhere make no line.
#include "pdf417scan/locate/EdgeLineFinder.h"
#include "pdf417scan/locate/PatternScanner.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

// Distance of p from the symbol's vertical line u (modules), in pixels.
double offLine(const SymbolRenderer::Frame& f, double u, const Point2D& p) {
    const Vec2 a = f.toFrame(u, 0);
    const Vec2 b = f.toFrame(u, f.heightModules);
    const double dx = b.x - a.x, dy = b.y - a.y;
    return std::fabs((p.x() - a.x) * dy - (p.y() - a.y) * dx) / std::hypot(dx, dy);
}

// Hits of `kind` whose outer edge lies on that pattern's true outer edge.
int onOuterEdge(const SymbolRenderer::Frame& f, const std::vector<PatternHit>& hits,
                PatternHit::Kind kind) {
    const double u = kind == PatternHit::Start ? 0.0 : f.widthModules;
    int count = 0;
    for (const PatternHit& h : hits) {
        count += h.kind == kind && offLine(f, u, h.outer) < 0.6 * f.modulePixels;
    }
    return count;
}

// A three-column, eight-row symbol of `text` drawn with `options`.
SymbolRenderer::Frame renderSmallSymbol(const char* text, const SymbolRenderer::Options& options) {
    Pdf417Modules symbol;
    EXPECT_TRUE(encodePdf417(text, {3, 2, 8}, symbol));
    return SymbolRenderer().render(ModuleGrid(symbol), options);
}

TEST(PatternEdges, HitsAndLinesLieOnTheTrueEdges) {
    Pdf417Modules symbol;
    ASSERT_TRUE(
        encodePdf417("Edges of the start and stop patterns, at every angle.", {4, 2, 12}, symbol));
    const ModuleGrid grid(symbol);
    std::mt19937 rng(3);
    PatternScanner scanner;
    EdgeLineFinder finder;
    std::vector<EdgeLine> lines;
    for (const double angle : {0.0, 17.0, 45.0, 90.0, 133.0, 180.0, 250.0, 313.0}) {
        SCOPED_TRACE(angle);
        SymbolRenderer::Options options;
        options.frameWidth = 640;
        options.frameHeight = 480;
        options.moduleWidth = 2.5 + (rng() % 10) / 10.0;
        options.rotationDegrees = angle;
        options.blurSigma = 0.4;
        SymbolRenderer::Frame frame = SymbolRenderer().render(grid, options);
        const double width = frame.widthModules;
        const double module = frame.modulePixels;
        Image image = frame.image();
        scanner.scan(image, PatternScanner::Settings());
        int starts = 0, stops = 0, onInner = 0;
        int directions = 0; // which scan directions found the edges
        for (const PatternHit& h : scanner.hits()) {
            const bool start = h.kind == PatternHit::Start;
            // Outer edge at u 0 (start) or the grid's end (stop), inner edge a
            // pattern's width in; data codewords may look like a pattern
            // now and then, and those hits lie elsewhere.
            if (offLine(frame, start ? 0.0 : width, h.outer) > 0.6 * module) {
                continue;
            }
            // A scan line leaving the symbol at a corner cuts the pattern
            // short: most hits, not all, end on the inner edge.
            onInner += offLine(frame, start ? 17.0 : width - 18.0, h.inner) < 0.6 * module ? 1 : 0;
            // Along the scan line a slanted pattern looks wider, never narrower.
            EXPECT_GT(h.module, 0.93 * module);
            EXPECT_GT(h.contrast, 100.0f);
            (start ? starts : stops) += 1;
            directions |= 1 << h.direction;
        }
        EXPECT_GE(starts, 3);
        EXPECT_GE(stops, 3);
        EXPECT_GE(onInner, (starts + stops) * 4 / 5);
        // Upright rows and columns cross the patterns; diagonals at 45.
        if (angle == 45.0) {
            EXPECT_NE(directions & 0xC, 0);
        }

        finder.find(scanner.hits(), 4, lines);
        ASSERT_GE(lines.size(), 2u);
        for (const EdgeLine& line : lines) {
            if (line.support < 3) {
                continue;
            }
            const bool start = line.kind == PatternHit::Start;
            const double u = start ? 0.0 : width;
            // Both ends of the traced stretch on the true edge, its module
            // the true one across it, its normal pointing into the symbol.
            EXPECT_LT(offLine(frame, u, line.at(line.from)), 0.5 * module);
            EXPECT_LT(offLine(frame, u, line.at(line.to)), 0.5 * module);
            EXPECT_NEAR(line.module, module, 0.08 * module);
            const Vec2 inside = frame.toFrame(width / 2, frame.heightModules / 2);
            EXPECT_GT(line.depth(Point2D(static_cast<float>(inside.x), static_cast<float>(inside.y),
                                         1.0f)),
                      0.0f);
            EXPECT_LT(offLine(frame, start ? 17.0 : width - 18.0,
                              Point2D(line.innerOrigin.x(), line.innerOrigin.y(), 1.0f)),
                      0.6 * module);
        }
    }

    // Hits along a vertical edge, each a little off it: the fitted line
    // runs through all of them, far straighter than any two would say.
    std::vector<PatternHit> edge;
    for (int i = 0; i < 20; ++i) {
        PatternHit h;
        const float jitter = (i % 3 == 0 ? 0.6f : -0.3f) * (i % 2 ? 1.0f : -1.0f);
        h.outer = Point2D(100.0f + jitter, 10.0f + 10.0f * static_cast<float>(i), 1.0f);
        h.inner = Point2D(h.outer.x() + 51.0f, h.outer.y(), 1.0f);
        h.module = 3.0f;
        edge.push_back(h);
    }
    finder.find(edge, 1, lines);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].support, 20);
    EXPECT_LT(std::fabs(lines[0].tx), 0.004f); // a quarter of a degree
    EXPECT_NEAR(lines[0].module, 3.0f, 0.05f);
    EXPECT_NEAR(lines[0].to - lines[0].from, 190.0f, 1.0f);

    // Stray pattern-like runs scattered over paper line up into no edge.
    std::vector<PatternHit> strays;
    for (int i = 0; i < 200; ++i) {
        PatternHit h;
        h.kind = i % 2 ? PatternHit::Start : PatternHit::Stop;
        const float x = static_cast<float>(rng() % 1000), y = static_cast<float>(rng() % 1000);
        const float a = static_cast<float>(rng() % 628) / 100.0f;
        h.outer = Point2D(x, y, 1.0f);
        h.inner = Point2D(x + 51.0f * std::cos(a), y + 51.0f * std::sin(a), 1.0f);
        h.module = 3.0f;
        strays.push_back(h);
    }
    finder.find(strays, 4, lines);
    for (const EdgeLine& line : lines) {
        EXPECT_LT(line.support, 4);
    }
}

// Noise of a dim camera splits a wide bar into runs at the floor's
// hysteresis; measured from the frame, the hysteresis keeps it whole. With
// 7-pixel modules and noise of 10 gray levels, the noise pass (every other
// line) finds both patterns on most of its lines through the symbol.
TEST(PatternEdges, WideBarsSurviveNoise) {
    SymbolRenderer::Options options;
    options.frameWidth = 1000;
    options.frameHeight = 400;
    options.moduleWidth = 7.0;
    options.ink = 90.0;
    options.paper = 190.0;
    options.noiseSigma = 10.0;
    SymbolRenderer::Frame frame = renderSmallSymbol("Noisy frames", options);
    PatternScanner scanner;
    PatternScanner::Settings rows;
    rows.directions = 1u << PatternScanner::Rows;
    scanner.scan(frame.image(), rows);
    const int lines = static_cast<int>(frame.heightModules * frame.modulePixels / rows.step);
    EXPECT_GE(onOuterEdge(frame, scanner.hits(), PatternHit::Start), lines / 3) << lines;
    EXPECT_GE(onOuterEdge(frame, scanner.hits(), PatternHit::Stop), lines / 3) << lines;
}

// Blur of half a module lets the stop pattern's thin elements,
// beside its wide bar and the paper past it, stay on one side of the local
// mean; the close look along lines across the pattern still takes each
// clear peak and dip as an element, and finds the pattern on most of them.
TEST(PatternEdges, CloseLookFindsBlurredThinElements) {
    SymbolRenderer::Options options;
    options.frameWidth = 400;
    options.frameHeight = 200;
    options.moduleWidth = 2.2;
    options.blurSigma = 1.1;
    options.ink = 80.0;
    options.paper = 235.0;
    options.quietZone = 6.0;
    SymbolRenderer::Frame frame = renderSmallSymbol("Blurred far side", options);
    Image image = frame.image();
    std::vector<std::pair<Point2D, Point2D>> segments;
    const double w = frame.widthModules;
    for (double v = 1.0; v < frame.heightModules - 1.0; v += 1.0) {
        const Vec2 a = frame.toFrame(w - 30.0, v), b = frame.toFrame(w + 5.0, v);
        segments.emplace_back(Point2D(static_cast<float>(a.x), static_cast<float>(a.y), 1.0f),
                              Point2D(static_cast<float>(b.x), static_cast<float>(b.y), 1.0f));
    }
    PatternScanner scanner;
    scanner.scanSegments(image, segments, PatternScanner::noiseHysteresis(image));
    EXPECT_GE(onOuterEdge(frame, scanner.hits(), PatternHit::Stop),
              static_cast<int>(segments.size()) * 2 / 3)
        << segments.size();
}

} // namespace
} // namespace pdf417::test
