#include "tools/synth/EdgeGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/MessageMaker.h"
#include "tools/synth/Placement.h"
#include "tools/synth/Random.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {
namespace synth {

namespace {

using test::Vec2;

constexpr double QUIET_ZONE = 2.0;
constexpr int MAX_COLUMNS = 12;
const char* const SIDES[] = {"top", "right", "bottom", "left"};

// How far the quiet zone's outer edge on `side` lies beyond the matching
// frame border, in pixels (negative: inside), over the placed quad's corners.
double overhang(const test::Homography& place, double w, double h, double q, int side, int width,
                int height) {
    double worst = -1e9;
    for (const Vec2 corner : {Vec2{-q, -q}, Vec2{w + q, -q}, Vec2{w + q, h + q}, Vec2{-q, h + q}}) {
        const Vec2 p = place(corner.x, corner.y);
        const double beyond[] = {-p.y, p.x - width, p.y - height, -p.x};
        worst = std::max(worst, beyond[side]);
    }
    return worst;
}

} // namespace

bool EdgeGenerator::make(std::uint64_t index, CorpusFrame& frame, std::string& error) {
    Random random(Random::derive(Random::derive(seed_, 0xED6E), index));
    frame = CorpusFrame();
    test::CorpusEntry& entry = frame.entry;
    entry.corpus = "edge";
    const std::uint64_t noiseSeed = random.next();
    const CameraLook look = CameraLook::mild(random);
    double module = random.uniform(2.5, 6.0);
    const auto kind = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
    frame.message = MessageMaker::make(kind, random);
    const int level = 3 + static_cast<int>(random.below(4));
    const int wantColumns = 1 + static_cast<int>(random.below(MAX_COLUMNS));
    const double rowHeight = random.uniform(3.0, 5.0);
    const double tilt = random.uniform(-3.0, 3.0);
    const double pick = random.uniform();
    const int side = pick < 0.4 ? 0 : (pick < 0.6 ? 2 : (pick < 0.8 ? 3 : 1));
    const bool touchOnly = random.chance(0.25);
    const double depthShare = random.uniform(); // of the deepest cut allowed

    test::Pdf417Modules symbol;
    const auto encode = [&](int columns, test::Pdf417Modules& out, std::string& refusal) {
        return test::encodePdf417(frame.message, {columns, level, 0}, out, &refusal);
    };
    // Fit as if the whole symbol were inside; the cut then moves it out.
    if (!Placement::chooseLayout(encode, wantColumns, MAX_COLUMNS, rowHeight, QUIET_ZONE, tilt, 0.0,
                                 WIDTH, HEIGHT, module, symbol, error)) {
        return false;
    }
    const test::ModuleGrid grid(symbol);
    const double w = grid.columns();
    const double h = grid.rows() * rowHeight;
    const int check = CodewordFootprint::checkCodewords(level);
    const CodewordFootprint footprint(symbol.dataColumns, symbol.rows, rowHeight);

    test::SymbolRenderer::Options options;
    options.frameWidth = WIDTH;
    options.frameHeight = HEIGHT;
    options.rowHeight = rowHeight;
    options.quietZone = QUIET_ZONE;
    options.rotationDegrees = tilt;
    options.moduleWidth = module;
    // The symbol (without its quiet zone) reaches `depth` modules past the
    // border: up to the quiet zone only when it just touches, else up to
    // half the symbol across the cut, less while the cut codewords exceed
    // the check codewords.
    const bool across = side == 0 || side == 2;
    double depth = touchOnly ? -QUIET_ZONE * depthShare : depthShare * 0.5 * (across ? h : w) + 0.5;
    std::array<Vec2, 4> quad{};
    int cut = 0;
    bool placed = false;
    for (int attempt = 0; attempt < 40 && !placed; ++attempt) {
        options.centerX = WIDTH / 2.0 + random.uniform(-0.3, 0.3) * WIDTH;
        options.centerY = HEIGHT / 2.0 + random.uniform(-0.3, 0.3) * HEIGHT;
        quad = test::SymbolRenderer::placeQuad(grid, options, WIDTH, HEIGHT);
        // Slide the symbol square to the side until its own edge (the quiet
        // zone's edge less the quiet zone) lies `depth` modules beyond it.
        const test::Homography place = test::Homography::rectToQuad(w, h, quad);
        const double shift =
            overhang(place, w, h, QUIET_ZONE, side, WIDTH, HEIGHT) - (QUIET_ZONE + depth) * module;
        const Vec2 move = side == 0   ? Vec2{0, -shift}
                          : side == 1 ? Vec2{shift, 0}
                          : side == 2 ? Vec2{0, shift}
                                      : Vec2{-shift, 0};
        for (Vec2& corner : quad) {
            corner.x -= move.x;
            corner.y -= move.y;
        }
        const test::Homography moved = test::Homography::rectToQuad(w, h, quad);
        cut = footprint.outside(moved, WIDTH, HEIGHT);
        // The other three sides stay inside with their quiet zones.
        bool othersInside = true;
        for (int other = 0; other < 4; ++other) {
            othersInside = othersInside && (other == side || overhang(moved, w, h, QUIET_ZONE,
                                                                      other, WIDTH, HEIGHT) <= 0.0);
        }
        if (!othersInside) {
            module *= 0.95;
            options.moduleWidth = module;
            continue;
        }
        placed = cut <= check;
        if (!placed) {
            depth = std::max(0.0, depth * 0.8 - 0.5);
        }
    }
    if (!placed) {
        error = "no placement cuts within the check codewords";
        return false;
    }
    options.quad = quad;

    entry.content = contentName(kind);
    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = symbol.dataColumns;
    entry.rows = symbol.rows;
    entry.level = level;
    entry.checkCodewords = check;
    entry.hitCodewords = cut;
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    entry.turn = 0;
    entry.rotation = tilt;
    entry.quietZone = QUIET_ZONE;
    entry.cutSide = SIDES[side];
    entry.cutModules = std::max(0.0, depth);
    entry.fits = false;
    look.render(renderer_, grid, options, noiseSeed, frame);
    return true;
}

} // namespace synth
} // namespace pdf417
