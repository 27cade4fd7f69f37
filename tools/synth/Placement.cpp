#include "tools/synth/Placement.h"

#include "tests/support/Homography.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {
namespace synth {

namespace {

constexpr double PI = 3.14159265358979323846;

double length(const test::Vec2& a, const test::Vec2& b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

} // namespace

void Placement::placedBox(double gridWidth, double gridHeight, double quietZone, double degrees,
                          double perspective, double& boxWidth, double& boxHeight) {
    // Corner jitter grows the placed symbol by up to twice the spread each
    // way; the 3 % spare covers the perspective's uneven scale.
    const double grow = 1.03 * (1.0 + 2.0 * perspective);
    const double w = (gridWidth + 2.0 * quietZone) * grow;
    const double h = (gridHeight + 2.0 * quietZone) * grow;
    const double c = std::fabs(std::cos(degrees * PI / 180.0));
    const double s = std::fabs(std::sin(degrees * PI / 180.0));
    boxWidth = c * w + s * h;
    boxHeight = s * w + c * h;
}

double Placement::fittingModule(double gridWidth, double gridHeight, double quietZone,
                                double degrees, double perspective, int width, int height) {
    double boxWidth = 0.0;
    double boxHeight = 0.0;
    placedBox(gridWidth, gridHeight, quietZone, degrees, perspective, boxWidth, boxHeight);
    return std::min((width - 2.0 * MARGIN) / boxWidth, (height - 2.0 * MARGIN) / boxHeight);
}

bool Placement::insideFrame(const std::array<test::Vec2, 4>& quad, double gridWidth,
                            double gridHeight, double quietZone, int width, int height) {
    const test::Homography place = test::Homography::rectToQuad(gridWidth, gridHeight, quad);
    const double q = quietZone;
    for (const test::Vec2& corner :
         {test::Vec2{-q, -q}, test::Vec2{gridWidth + q, -q},
          test::Vec2{gridWidth + q, gridHeight + q}, test::Vec2{-q, gridHeight + q}}) {
        test::Vec2 p;
        // The quiet zone is a convex quad, so its corners bound it.
        if (!place.map(corner.x, corner.y, p) || !(p.x >= 0.0 && p.x <= width) ||
            !(p.y >= 0.0 && p.y <= height)) {
            return false;
        }
    }
    return true;
}

bool Placement::chooseLayout(const Encoder& encode, int wantColumns, int maxColumns,
                             double rowHeight, double quietZone, double degrees, double perspective,
                             int width, int height, double& module, test::Pdf417Modules& chosen,
                             std::string& error) {
    chosen = test::Pdf417Modules();
    double chosenFit = 0.0;
    bool found = false;
    std::string refusal;
    for (int step = 0; step < 2 * maxColumns && !found; ++step) {
        const int columns = wantColumns + (step % 2 == 0 ? step / 2 : -(step + 1) / 2);
        if (columns < 1 || columns > maxColumns) {
            continue;
        }
        test::Pdf417Modules symbol;
        if (!encode(columns, symbol, refusal)) {
            continue;
        }
        const double fit = fittingModule(symbol.widthModules(), symbol.rows * rowHeight, quietZone,
                                         degrees, perspective, width, height);
        found = fit >= module;
        if (found || fit > chosenFit) {
            chosen = symbol;
            chosenFit = fit;
        }
    }
    if (chosen.rows == 0) {
        error = "libzint refused every column count: " + refusal;
        return false;
    }
    if (!found) {
        module = chosenFit;
    }
    return true;
}

double Placement::jitterCorners(std::array<test::Vec2, 4>& quad, double spread, Random& random) {
    if (spread <= 0.0) {
        return 0.0;
    }
    const test::Vec2 across{quad[1].x - quad[0].x, quad[1].y - quad[0].y};
    const test::Vec2 down{quad[3].x - quad[0].x, quad[3].y - quad[0].y};
    double largest = 0.0;
    for (test::Vec2& corner : quad) {
        const double a = random.uniform(-spread, spread);
        const double d = random.uniform(-spread, spread);
        corner.x += a * across.x + d * down.x;
        corner.y += a * across.y + d * down.y;
        largest = std::max({largest, std::fabs(a), std::fabs(d)});
    }
    return largest;
}

void Placement::keystone(std::array<test::Vec2, 4>& quad, int side, double ratio) {
    test::Vec2& a = quad[static_cast<std::size_t>(side % 4)];
    test::Vec2& b = quad[static_cast<std::size_t>((side + 1) % 4)];
    const test::Vec2 middle{(a.x + b.x) / 2.0, (a.y + b.y) / 2.0};
    for (test::Vec2* corner : {&a, &b}) {
        corner->x = middle.x + (corner->x - middle.x) / ratio;
        corner->y = middle.y + (corner->y - middle.y) / ratio;
    }
}

double Placement::sideRatio(const std::array<test::Vec2, 4>& quad) {
    double ratio = 1.0;
    for (int pair = 0; pair < 2; ++pair) {
        const double one = length(quad[pair], quad[pair + 1]);
        const double other = length(quad[pair + 2], quad[(pair + 3) % 4]);
        if (one > 0.0 && other > 0.0) {
            ratio = std::max({ratio, one / other, other / one});
        }
    }
    return ratio;
}

Placement::Placed Placement::placeAnywhere(const test::ModuleGrid& grid, double gridWidth,
                                           double gridHeight, double quietZone, double spread,
                                           int keystoneSide, double keystoneRatio, int width,
                                           int height, Random& random,
                                           test::SymbolRenderer::Options& options, double& module) {
    // Shortening a side only draws corners inwards, so the keystone never
    // pushes one out; the jitter may.
    Placed placed;
    for (int attempt = 0; attempt < 30 && !placed.fits; ++attempt) {
        if (attempt > 0) {
            module *= 0.97;
        }
        options.moduleWidth = module;
        double boxWidth = 0.0;
        double boxHeight = 0.0;
        placedBox(gridWidth, gridHeight, quietZone, options.rotationDegrees, spread, boxWidth,
                  boxHeight);
        const double freeX = std::max(0.0, width - 2.0 * MARGIN - boxWidth * module);
        const double freeY = std::max(0.0, height - 2.0 * MARGIN - boxHeight * module);
        options.centerX = width / 2.0 + random.uniform(-0.5, 0.5) * freeX;
        options.centerY = height / 2.0 + random.uniform(-0.5, 0.5) * freeY;
        placed.quad = test::SymbolRenderer::placeQuad(grid, options, width, height);
        if (keystoneSide >= 0) {
            keystone(placed.quad, keystoneSide, keystoneRatio);
        }
        placed.perspective = jitterCorners(placed.quad, spread, random);
        placed.fits = insideFrame(placed.quad, gridWidth, gridHeight, quietZone, width, height);
    }
    options.quad = placed.quad;
    return placed;
}

} // namespace synth
} // namespace pdf417
