#include "tools/synth/CorpusGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/DecoyGrids.h"
#include "tools/synth/MessageMaker.h"
#include "tools/synth/Placement.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {
namespace synth {

namespace {

using test::ModuleGrid;
using test::SymbolRenderer;
using test::Vec2;

constexpr double QUIET_ZONE = 2.0;
constexpr int MAX_COLUMNS = 20;

// The symbol seen from behind: every row reversed.
ModuleGrid mirrored(const ModuleGrid& grid) {
    ModuleGrid out(grid.columns(), grid.rows());
    for (int r = 0; r < grid.rows(); ++r) {
        for (int c = 0; c < grid.columns(); ++c) {
            out.set(grid.columns() - 1 - c, r, grid.bar(c, r));
        }
    }
    return out;
}

} // namespace

bool CorpusGenerator::make(std::uint64_t index, int width, int height, CorpusFrame& frame,
                           std::string& error) {
    const std::uint64_t sizeKey =
        static_cast<std::uint64_t>(width) * 100000u + static_cast<std::uint64_t>(height);
    Random random(Random::derive(Random::derive(seed_, sizeKey), index));
    frame = CorpusFrame();
    frame.entry.corpus = "camera";
    frame.entry.width = width;
    frame.entry.height = height;
    if (holdsNoSymbol(index)) {
        makeDecoy(random, width, height, frame);
        return true;
    }
    return makeSymbol(random, width, height, frame, error);
}

bool CorpusGenerator::makeSymbol(Random& random, int width, int height, CorpusFrame& frame,
                                 std::string& error) {
    const std::uint64_t noiseSeed = random.next();
    const CameraLook look = CameraLook::camera(random);
    double module = random.chance(0.7) ? random.uniform(1.2, 4.0) : random.uniform(4.0, 8.0);
    const auto kind = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
    frame.message = MessageMaker::make(kind, random);
    const int level = 2 + static_cast<int>(random.below(4));
    const int wantColumns = 1 + static_cast<int>(random.below(MAX_COLUMNS));
    const double rowHeight = random.uniform(3.0, 5.0);
    // Half the frames held as a reader holds them, square to the camera or
    // a quarter turned and a little tilted; the other half at any angle.
    double angle = 0.0;
    if (random.chance(0.5)) {
        static const int TURNS[] = {0, 0, 90, 180, 270};
        const double tilt =
            (random.chance(0.75) ? random.uniform(0.0, 3.0) : random.uniform(3.0, 10.0)) *
            (random.chance(0.5) ? 1.0 : -1.0);
        angle = TURNS[random.below(5)] + tilt;
    } else {
        angle = random.uniform(0.0, 360.0);
    }
    const double spread = random.chance(0.4) ? 0.0 : random.uniform(0.0, 0.08);
    const bool keystone = random.chance(0.3);
    const double keystoneRatio = random.uniform(1.0, 2.0);
    const int keystoneSide = static_cast<int>(random.below(4));
    const bool mirror = random.chance(0.1);

    test::Pdf417Modules chosen;
    const auto encode = [&](int columns, test::Pdf417Modules& symbol, std::string& refusal) {
        return test::encodePdf417(frame.message, {columns, level, 0}, symbol, &refusal);
    };
    if (!Placement::chooseLayout(encode, wantColumns, MAX_COLUMNS, rowHeight, QUIET_ZONE, angle,
                                 spread, width, height, module, chosen, error)) {
        return false;
    }

    const ModuleGrid grid = mirror ? mirrored(ModuleGrid(chosen)) : ModuleGrid(chosen);
    const double gridWidth = grid.columns();
    const double gridHeight = grid.rows() * rowHeight;
    SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.rowHeight = rowHeight;
    options.quietZone = QUIET_ZONE;
    options.rotationDegrees = angle;
    const Placement::Placed placed = Placement::placeAnywhere(
        grid, gridWidth, gridHeight, QUIET_ZONE, spread, keystone ? keystoneSide : -1,
        keystoneRatio, width, height, random, options, module);

    test::CorpusEntry& entry = frame.entry;
    entry.content = contentName(kind);
    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = chosen.dataColumns;
    entry.rows = chosen.rows;
    entry.level = level;
    entry.checkCodewords = CodewordFootprint::checkCodewords(level);
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    // The angle as the nearest right-angle turn and what is left of it.
    const double turn = std::fmod(std::round(angle / 90.0) * 90.0, 360.0);
    entry.turn = static_cast<int>(turn);
    entry.rotation = angle - std::round(angle / 90.0) * 90.0;
    entry.perspective = placed.perspective;
    entry.sideRatio = Placement::sideRatio(placed.quad);
    entry.mirrored = mirror;
    entry.quietZone = QUIET_ZONE;
    entry.fits = placed.fits;
    look.render(renderer_, grid, options, noiseSeed, frame);
    return true;
}

void CorpusGenerator::makeDecoy(Random& random, int width, int height, CorpusFrame& frame) {
    const std::uint64_t noiseSeed = random.next();
    const CameraLook look = CameraLook::camera(random);
    const std::uint32_t kind = random.below(3);
    ModuleGrid grid;
    SymbolRenderer::Options options;
    double module = 0.0;
    options.rowHeight = 1.0;
    if (kind == 0) {
        grid = DecoyGrids::texture(random);
        module = random.uniform(6.0, 16.0);
        frame.entry.content = "texture";
    } else if (kind == 1) {
        grid = DecoyGrids::stripes(random);
        options.rowHeight = random.uniform(20.0, 60.0);
        module = random.uniform(1.5, 5.0);
        frame.entry.content = "stripes";
    } else {
        grid = DecoyGrids::text(random);
        module = random.uniform(1.2, 3.5);
        frame.entry.content = "text";
    }
    const double rotation = random.uniform(-10.0, 10.0);
    module =
        std::min(module, Placement::fittingModule(grid.columns(), grid.rows() * options.rowHeight,
                                                  QUIET_ZONE, rotation, 0.0, width, height));
    options.frameWidth = width;
    options.frameHeight = height;
    options.moduleWidth = module;
    options.rotationDegrees = rotation;
    options.quietZone = QUIET_ZONE;
    frame.entry.modulePx = module;
    frame.entry.rowHeight = options.rowHeight;
    frame.entry.rotation = rotation;
    frame.entry.fits = Placement::insideFrame(
        SymbolRenderer::placeQuad(grid, options, width, height), grid.columns(),
        grid.rows() * options.rowHeight, QUIET_ZONE, width, height);
    look.render(renderer_, grid, options, noiseSeed, frame);
}

} // namespace synth
} // namespace pdf417
