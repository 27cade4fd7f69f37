// The precise chain on its own, on frames no right-angle scan would read:
// any angle, perspective, mirror images, fine modules, blur. Whatever it
// reads must be the message, with the symbol's geometry and its corners
// within a module of where the renderer put them.
#include "pdf417scan/reader/PreciseReader.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace pdf417::test {
namespace {

struct Placed {
    SymbolRenderer::Frame frame;
    std::string message;
    int rows = 0;
    int columns = 0;
    int level = 0;
    bool mirrored = false;
    std::array<Vec2, 4> corners{}; // truth, in the symbol's own reading order
};

// A random symbol placed at any angle, under up to `perspective` (the far
// side shrunk by that share), mirrored now and then, fully inside a 960x540
// frame; false when the draw does not fit.
bool place(std::mt19937& rng, double moduleLow, double moduleHigh, double perspective,
           Placed& out) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    out.rows = 3 + static_cast<int>(rng() % 25);
    out.columns = 1 + static_cast<int>(rng() % 10);
    out.level = 2 + static_cast<int>(rng() % 3);
    Pdf417Modules symbol;
    if (!encodeMessageSymbol(static_cast<MessageKind>(rng() % 3), out.rows, out.columns, out.level,
                             0.8, rng, out.message, symbol)) {
        return false;
    }
    const ModuleGrid grid(symbol);
    SymbolRenderer::Options options;
    options.frameWidth = 960;
    options.frameHeight = 540;
    options.moduleWidth = moduleLow + (moduleHigh - moduleLow) * unit(rng);
    options.rotationDegrees = 360.0 * unit(rng);
    options.blurSigma = 0.6 * unit(rng);
    options.noiseSigma = 1.0 + 3.0 * unit(rng);
    options.seed = rng();
    std::array<Vec2, 4> quad = SymbolRenderer::placeQuad(grid, options, 960, 540);
    // The far side (grid corners 1 and 2) shrunk about its middle.
    const double shrink = perspective * unit(rng);
    const Vec2 mid{(quad[1].x + quad[2].x) / 2, (quad[1].y + quad[2].y) / 2};
    for (const int i : {1, 2}) {
        quad[i] = {mid.x + (quad[i].x - mid.x) * (1 - shrink),
                   mid.y + (quad[i].y - mid.y) * (1 - shrink)};
    }
    for (const Vec2& c : quad) {
        if (c.x < 4 || c.y < 4 || c.x > 956 || c.y > 536) {
            return false;
        }
    }
    options.quad = quad;
    out.frame = SymbolRenderer().render(grid, options);
    const double w = out.frame.widthModules;
    const double h = out.frame.heightModules;
    out.corners = {out.frame.toFrame(0, 0), out.frame.toFrame(w, 0), out.frame.toFrame(w, h),
                   out.frame.toFrame(0, h)};
    out.mirrored = rng() % 4 == 0;
    if (out.mirrored) {
        auto& p = out.frame.pixels;
        for (int y = 0; y < out.frame.height; ++y) {
            std::reverse(p.begin() + y * out.frame.width, p.begin() + (y + 1) * out.frame.width);
        }
        for (Vec2& c : out.corners) {
            c.x = out.frame.width - c.x;
        }
    }
    return true;
}

void expectReadsMostAndRight(std::uint32_t seed, double moduleLow, double moduleHigh,
                             double perspective, int cases, double minimumRate) {
    std::mt19937 rng(seed);
    PreciseReader reader;
    SymbolDecoder decoder;
    int tried = 0;
    int read = 0;
    while (tried < cases) {
        Placed p;
        if (!place(rng, moduleLow, moduleHigh, perspective, p)) {
            continue;
        }
        ++tried;
        Image image = p.frame.image();
        DecodedSymbol symbol;
        reader.reset();
        if (!reader.read(image, PreciseReader::Settings(), decoder, symbol)) {
            continue;
        }
        ++read;
        SCOPED_TRACE("case " + std::to_string(tried) + ": " + std::to_string(p.rows) + "x" +
                     std::to_string(p.columns) + (p.mirrored ? " mirrored" : ""));
        EXPECT_EQ(std::string(symbol.message.bytes.begin(), symbol.message.bytes.end()), p.message);
        EXPECT_EQ(symbol.rows, p.rows);
        EXPECT_EQ(symbol.dataColumns, p.columns);
        EXPECT_EQ(symbol.ecLevel, p.level);
        const double module = p.frame.modulePixels;
        for (int c = 0; c < 4; ++c) {
            EXPECT_LT(std::hypot(symbol.corners[c].x() - p.corners[c].x,
                                 symbol.corners[c].y() - p.corners[c].y),
                      module)
                << "corner " << c;
        }
    }
    EXPECT_GE(read, minimumRate * cases) << read << " of " << cases;
}

TEST(PreciseReader, ReadsAnyAngleAndMirrorImages) {
    expectReadsMostAndRight(2024, 2.0, 4.0, 0.0, 16, 0.9);
}

TEST(PreciseReader, ReadsUnderPerspective) {
    expectReadsMostAndRight(2020, 2.0, 4.0, 0.45, 10, 0.85);
}

TEST(PreciseReader, ReadsFineModules) {
    expectReadsMostAndRight(1316, 1.3, 2.0, 0.0, 10, 0.8);
}

} // namespace
} // namespace pdf417::test
