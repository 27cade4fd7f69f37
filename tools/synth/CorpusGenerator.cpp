#include "tools/synth/CorpusGenerator.h"

#include "tests/support/ImageFiles.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/MessageMaker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace pdf417 {
namespace synth {

namespace {

using test::ModuleGrid;
using test::SymbolRenderer;
using test::Vec2;

constexpr double QUIET_ZONE = 2.0;
constexpr double PI = 3.14159265358979323846;
constexpr int MAX_COLUMNS = 20;

// Pushes each corner along the quad's own width and height directions by up
// to `spread` of them; returns the largest push made, as a share.
double jitterCorners(std::array<Vec2, 4>& quad, double spread, Random& random) {
    if (spread <= 0.0) {
        return 0.0;
    }
    const Vec2 across{quad[1].x - quad[0].x, quad[1].y - quad[0].y};
    const Vec2 down{quad[3].x - quad[0].x, quad[3].y - quad[0].y};
    double largest = 0.0;
    for (Vec2& corner : quad) {
        const double a = random.uniform(-spread, spread);
        const double d = random.uniform(-spread, spread);
        corner.x += a * across.x + d * down.x;
        corner.y += a * across.y + d * down.y;
        largest = std::max({largest, std::fabs(a), std::fabs(d)});
    }
    return largest;
}

ModuleGrid textureGrid(Random& random) {
    ModuleGrid grid(30 + static_cast<int>(random.below(50)),
                    20 + static_cast<int>(random.below(30)));
    for (int r = 0; r < grid.rows(); ++r) {
        for (int c = 0; c < grid.columns(); ++c) {
            grid.set(c, r, random.chance(0.5));
        }
    }
    return grid;
}

// Bars and spaces of one to four modules, like a linear barcode.
ModuleGrid stripeGrid(Random& random) {
    const int length = 60 + static_cast<int>(random.below(150));
    ModuleGrid grid(length, 1);
    bool bar = true;
    for (int c = 0; c < length;) {
        const int run = 1 + static_cast<int>(random.below(4));
        for (int i = 0; i < run && c < length; ++i, ++c) {
            grid.set(c, 0, bar);
        }
        bar = !bar;
    }
    return grid;
}

// Lines of glyph-sized blobs in words, like printed text.
ModuleGrid textGrid(Random& random) {
    const int lines = 4 + static_cast<int>(random.below(10));
    const int glyphHeight = 7;
    const int lineHeight = glyphHeight + 4;
    ModuleGrid grid(100 + static_cast<int>(random.below(150)), lines * lineHeight);
    for (int line = 0; line < lines; ++line) {
        const int top = line * lineHeight + 2;
        int x = 1;
        while (x < grid.columns()) {
            const int glyphs = 2 + static_cast<int>(random.below(7));
            for (int g = 0; g < glyphs; ++g) {
                const int glyphWidth = 3 + static_cast<int>(random.below(3));
                for (int c = x; c < x + glyphWidth && c < grid.columns(); ++c) {
                    for (int r = top; r < top + glyphHeight; ++r) {
                        grid.set(c, r, random.chance(0.45));
                    }
                }
                x += glyphWidth + 1;
            }
            x += 3 + static_cast<int>(random.below(3));
        }
    }
    return grid;
}

} // namespace

bool CorpusGenerator::make(std::uint64_t index, int width, int height, CorpusFrame& frame,
                           std::string& error) {
    const std::uint64_t sizeKey =
        static_cast<std::uint64_t>(width) * 100000u + static_cast<std::uint64_t>(height);
    Random random(Random::derive(Random::derive(seed_, sizeKey), index));
    frame = CorpusFrame();
    frame.entry.width = width;
    frame.entry.height = height;
    if (holdsNoSymbol(index)) {
        makeDecoy(random, width, height, frame);
        return true;
    }
    return makeSymbol(random, width, height, frame, error);
}

CorpusGenerator::Camera CorpusGenerator::drawCamera(Random& random) {
    Camera camera;
    camera.blurModules = random.uniform(0.0, 0.5);
    camera.noise = random.uniform(0.0, 12.0);
    camera.ink = random.uniform(5.0, 100.0);
    camera.paper = random.uniform(150.0, 250.0);
    if (random.chance(0.7)) {
        camera.lighting.gradientX = random.uniform(-0.25, 0.25);
        camera.lighting.gradientY = random.uniform(-0.25, 0.25);
        camera.lighting.vignette = random.uniform(0.0, 0.35);
    }
    const double jpeg = random.uniform();
    camera.jpegQuality = jpeg < 0.5 ? 0 : (jpeg < 0.75 ? 90 : 70);
    return camera;
}

void CorpusGenerator::placedBox(double gridWidth, double gridHeight, double quietZone,
                                double degrees, double perspective, double& boxWidth,
                                double& boxHeight) {
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

double CorpusGenerator::fittingModule(double gridWidth, double gridHeight, double quietZone,
                                      double degrees, double perspective, int width, int height) {
    double boxWidth = 0.0;
    double boxHeight = 0.0;
    placedBox(gridWidth, gridHeight, quietZone, degrees, perspective, boxWidth, boxHeight);
    return std::min((width - 2.0 * MARGIN) / boxWidth, (height - 2.0 * MARGIN) / boxHeight);
}

bool CorpusGenerator::insideFrame(const std::array<Vec2, 4>& quad, double gridWidth,
                                  double gridHeight, double quietZone, int width, int height) {
    const test::Homography place = test::Homography::rectToQuad(gridWidth, gridHeight, quad);
    const double q = quietZone;
    for (const Vec2& corner : {Vec2{-q, -q}, Vec2{gridWidth + q, -q},
                               Vec2{gridWidth + q, gridHeight + q}, Vec2{-q, gridHeight + q}}) {
        Vec2 p;
        // The quiet zone is a convex quad, so its corners bound it.
        if (!place.map(corner.x, corner.y, p) || !(p.x >= 0.0 && p.x <= width) ||
            !(p.y >= 0.0 && p.y <= height)) {
            return false;
        }
    }
    return true;
}

bool CorpusGenerator::makeSymbol(Random& random, int width, int height, CorpusFrame& frame,
                                 std::string& error) {
    const std::uint64_t noiseSeed = random.next();
    const Camera camera = drawCamera(random);
    double module = random.chance(0.7) ? random.uniform(1.2, 4.0) : random.uniform(4.0, 8.0);
    const auto kind = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
    frame.message = MessageMaker::make(kind, random);
    const int level = 2 + static_cast<int>(random.below(4));
    const int wantColumns = 1 + static_cast<int>(random.below(MAX_COLUMNS));
    const double rowHeight = random.uniform(3.0, 5.0);
    const double rotation =
        (random.chance(0.75) ? random.uniform(0.0, 3.0) : random.uniform(3.0, 10.0)) *
        (random.chance(0.5) ? 1.0 : -1.0);
    static const int TURNS[] = {0, 0, 90, 180, 270};
    const int turn = TURNS[random.below(5)];
    const double spread = random.chance(0.4) ? 0.0 : random.uniform(0.0, 0.08);
    const double angle = turn + rotation;

    // The drawn column count when the symbol fits at the drawn module size,
    // else the nearest count that fits; when none does, the layout that
    // allows the largest modules, at that size.
    test::Pdf417Modules chosen;
    double chosenFit = 0.0;
    bool found = false;
    std::string refusal;
    for (int step = 0; step < 2 * MAX_COLUMNS && !found; ++step) {
        const int columns = wantColumns + (step % 2 == 0 ? step / 2 : -(step + 1) / 2);
        if (columns < 1 || columns > MAX_COLUMNS) {
            continue;
        }
        test::Pdf417Modules symbol;
        if (!test::encodePdf417(frame.message, {columns, level, 0}, symbol, &refusal)) {
            continue;
        }
        const double fit = fittingModule(symbol.widthModules(), symbol.rows * rowHeight, QUIET_ZONE,
                                         angle, spread, width, height);
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

    const ModuleGrid grid(chosen);
    const double gridWidth = grid.columns();
    const double gridHeight = grid.rows() * rowHeight;
    SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.rowHeight = rowHeight;
    options.quietZone = QUIET_ZONE;
    options.rotationDegrees = angle;
    // Place anywhere the symbol fits; should the perspective still push a
    // corner out, shrink a little and place again.
    std::array<Vec2, 4> quad{};
    double perspective = 0.0;
    bool fits = false;
    for (int attempt = 0; attempt < 30 && !fits; ++attempt) {
        if (attempt > 0) {
            module *= 0.97;
        }
        options.moduleWidth = module;
        double boxWidth = 0.0;
        double boxHeight = 0.0;
        placedBox(gridWidth, gridHeight, QUIET_ZONE, angle, spread, boxWidth, boxHeight);
        const double freeX = std::max(0.0, width - 2.0 * MARGIN - boxWidth * module);
        const double freeY = std::max(0.0, height - 2.0 * MARGIN - boxHeight * module);
        options.centerX = width / 2.0 + random.uniform(-0.5, 0.5) * freeX;
        options.centerY = height / 2.0 + random.uniform(-0.5, 0.5) * freeY;
        quad = SymbolRenderer::placeQuad(grid, options, width, height);
        perspective = jitterCorners(quad, spread, random);
        fits = insideFrame(quad, gridWidth, gridHeight, QUIET_ZONE, width, height);
    }
    options.quad = quad;

    test::CorpusEntry& entry = frame.entry;
    entry.content = contentName(kind);
    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = chosen.dataColumns;
    entry.rows = chosen.rows;
    entry.level = level;
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    entry.rotation = rotation;
    entry.turn = turn;
    entry.perspective = perspective;
    entry.fits = fits;
    render(grid, options, camera, noiseSeed, frame);
    return true;
}

void CorpusGenerator::makeDecoy(Random& random, int width, int height, CorpusFrame& frame) {
    const std::uint64_t noiseSeed = random.next();
    const Camera camera = drawCamera(random);
    const std::uint32_t kind = random.below(3);
    ModuleGrid grid;
    SymbolRenderer::Options options;
    double module = 0.0;
    options.rowHeight = 1.0;
    if (kind == 0) {
        grid = textureGrid(random);
        module = random.uniform(6.0, 16.0);
        frame.entry.content = "texture";
    } else if (kind == 1) {
        grid = stripeGrid(random);
        options.rowHeight = random.uniform(20.0, 60.0);
        module = random.uniform(1.5, 5.0);
        frame.entry.content = "stripes";
    } else {
        grid = textGrid(random);
        module = random.uniform(1.2, 3.5);
        frame.entry.content = "text";
    }
    const double rotation = random.uniform(-10.0, 10.0);
    module = std::min(module, fittingModule(grid.columns(), grid.rows() * options.rowHeight,
                                            QUIET_ZONE, rotation, 0.0, width, height));
    options.frameWidth = width;
    options.frameHeight = height;
    options.moduleWidth = module;
    options.rotationDegrees = rotation;
    options.quietZone = QUIET_ZONE;
    frame.entry.modulePx = module;
    frame.entry.rowHeight = options.rowHeight;
    frame.entry.rotation = rotation;
    frame.entry.fits =
        insideFrame(SymbolRenderer::placeQuad(grid, options, width, height), grid.columns(),
                    grid.rows() * options.rowHeight, QUIET_ZONE, width, height);
    render(grid, options, camera, noiseSeed, frame);
}

void CorpusGenerator::render(const ModuleGrid& grid, SymbolRenderer::Options options,
                             const Camera& camera, std::uint64_t seed, CorpusFrame& frame) {
    options.ink = camera.ink;
    options.paper = camera.paper;
    options.blurSigma = camera.blurModules * options.moduleWidth;
    options.noiseSigma = camera.noise;
    options.lighting = camera.lighting;
    options.seed = seed;
    SymbolRenderer::Frame rendered = renderer_.render(grid, options);
    frame.pixels.swap(rendered.pixels);
    test::CorpusEntry& entry = frame.entry;
    entry.blurPx = options.blurSigma;
    entry.blurModules = camera.blurModules;
    entry.noise = camera.noise;
    entry.ink = camera.ink;
    entry.paper = camera.paper;
    entry.gradientX = camera.lighting.gradientX;
    entry.gradientY = camera.lighting.gradientY;
    entry.vignette = camera.lighting.vignette;
    entry.jpegQuality = 0;
    if (camera.jpegQuality > 0 &&
        test::jpegRoundTrip(frame.pixels, entry.width, entry.height, camera.jpegQuality)) {
        entry.jpegQuality = camera.jpegQuality;
    }
}

} // namespace synth
} // namespace pdf417
