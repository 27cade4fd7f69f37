#pragma once

#include "pdf417scan/imaging/Line2D.h"
#include "pdf417scan/imaging/Point2D.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace pdf417 {
namespace test {

// A symbol of exactly rows x dataColumns from libzint, filled with text.
inline bool makeSymbol(int rows, int dataColumns, unsigned seed, Pdf417Modules& out) {
    std::mt19937 rng(seed);
    std::string message;
    return encodeMessageSymbol(MessageKind::Text, rows, dataColumns,
                               rows * dataColumns >= 64 ? 2 : 0, 1.0, rng, message, out);
}

// Random symbols the detector is built to find: rows and data columns up to
// the limits, modules in [minModule, maxModule), turned by one of `turns`
// plus up to maxTilt degrees. Left out, as the detector cannot find them:
// symbols under minHeight pixels (it needs 8 start-pattern hits on rows 3
// pixels apart, and a tilt costs it about 40 % of them), and tilted symbols
// whose rows drift across by more than half their height (the rows through
// the start pattern must also cross the stop pattern). Frames stay under a
// quarter of a megapixel to keep the suite quick.
inline std::vector<SymbolCase> randomCases(unsigned seed, int count, double minModule,
                                           double maxModule, double maxTilt, double minHeight,
                                           int maxColumns = 28) {
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

// Position error of a found point against the truth at symbol coordinates
// (u, v), along the symbol's own axes, in pixels: across the bars (towards
// the stop pattern) and along them (towards the last row).
struct AxisError {
    double across = 0.0;
    double along = 0.0;
};

inline AxisError axisError(const SymbolRenderer::Frame& frame, double u, double v,
                           const Point2D& found) {
    const Vec2 p = frame.toFrame(u, v);
    const Vec2 pu = frame.toFrame(u + 1.0, v);
    const Vec2 pv = frame.toFrame(u, v + 1.0);
    const double dx = found.x() - p.x;
    const double dy = found.y() - p.y;
    return {(dx * (pu.x - p.x) + dy * (pu.y - p.y)) / std::hypot(pu.x - p.x, pu.y - p.y),
            (dx * (pv.x - p.x) + dy * (pv.y - p.y)) / std::hypot(pv.x - p.x, pv.y - p.y)};
}

// Distance in pixels from p to the infinite line through a segment's ends.
inline double lineDistance(const std::pair<Point2D, Point2D>& line, const Vec2& p) {
    const Line2D l(line.first, line.second);
    return std::fabs(l.A() * p.x + l.B() * p.y + l.C()) / std::hypot(l.A(), l.B());
}

} // namespace test
} // namespace pdf417
