#include "tools/synth/CrispGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/MessageMaker.h"
#include "tools/synth/Random.h"

#include <algorithm>
#include <cmath>

namespace pdf417 {
namespace synth {

namespace {

constexpr int WIDTH = 1280;
constexpr int HEIGHT = 720;
constexpr int MARGIN = 8;
constexpr int MAX_COLUMNS = 30;

} // namespace

bool CrispGenerator::make(std::uint64_t index, CorpusFrame& frame, std::string& error) {
    Random random(Random::derive(Random::derive(seed_, 0xC415), index));
    frame = CorpusFrame();
    test::CorpusEntry& entry = frame.entry;
    entry.corpus = "crisp";
    const std::uint64_t noiseSeed = random.next();
    const bool aligned = random.chance(0.5);
    const double module = aligned ? 1.0 + random.below(3) : random.uniform(1.0, 3.0);
    static const double ROW_HEIGHTS[] = {2.0, 3.0, 3.0, 4.0};
    const double rowHeight = ROW_HEIGHTS[random.below(4)];
    const bool quiet = random.chance(0.6);
    const double quietZone = quiet ? 2.0 : 0.0;
    const auto kind = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
    frame.message = MessageMaker::make(kind, random);
    const int level = 2 + static_cast<int>(random.below(4));
    const int wantColumns = 1 + static_cast<int>(random.below(MAX_COLUMNS));

    // The drawn column count, else the nearest libzint takes (it refuses
    // more than 90 rows).
    test::Pdf417Modules symbol;
    std::string refusal;
    bool encoded = false;
    for (int step = 0; step < 2 * MAX_COLUMNS && !encoded; ++step) {
        const int columns = wantColumns + (step % 2 == 0 ? step / 2 : -(step + 1) / 2);
        encoded = columns >= 1 && columns <= MAX_COLUMNS &&
                  test::encodePdf417(frame.message, {columns, level, 0}, symbol, &refusal);
    }
    if (!encoded) {
        error = "libzint refused every column count: " + refusal;
        return false;
    }

    const test::ModuleGrid grid(symbol);
    const double placedWidth = (grid.columns() + 2.0 * quietZone) * module;
    const double placedHeight = (grid.rows() * rowHeight + 2.0 * quietZone) * module;
    const int width = std::max(WIDTH, static_cast<int>(std::ceil(placedWidth)) + 2 * MARGIN);
    const int height = std::max(HEIGHT, static_cast<int>(std::ceil(placedHeight)) + 2 * MARGIN);
    // The quiet zone's top-left corner, on a whole pixel when aligned.
    double left = MARGIN + random.uniform() * (width - 2.0 * MARGIN - placedWidth);
    double top = MARGIN + random.uniform() * (height - 2.0 * MARGIN - placedHeight);
    if (aligned) {
        left = std::floor(left);
        top = std::floor(top);
    }
    const double x0 = left + quietZone * module;
    const double y0 = top + quietZone * module;
    const double w = grid.columns() * module;
    const double h = grid.rows() * rowHeight * module;

    CameraLook look;
    look.ink = random.uniform(0.0, aligned ? 10.0 : 25.0);
    look.paper = random.uniform(aligned ? 245.0 : 230.0, 255.0);
    // Resampling blurs by about a third of the source pixel.
    look.blurModules = aligned ? 0.0 : random.uniform(0.25, 0.45) / module;
    test::SymbolRenderer::Options options;
    options.frameWidth = width;
    options.frameHeight = height;
    options.moduleWidth = module;
    options.rowHeight = rowHeight;
    options.quietZone = quietZone;
    options.quad = std::array<test::Vec2, 4>{test::Vec2{x0, y0}, test::Vec2{x0 + w, y0},
                                             test::Vec2{x0 + w, y0 + h}, test::Vec2{x0, y0 + h}};
    // Without a quiet zone the symbol sits on a screen's gray.
    options.background = quiet ? look.paper : random.uniform(0.0, 200.0);

    entry.content = contentName(kind);
    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = symbol.dataColumns;
    entry.rows = symbol.rows;
    entry.level = level;
    entry.checkCodewords = CodewordFootprint::checkCodewords(level);
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    entry.quietZone = quietZone;
    entry.pixelAligned = aligned;
    look.render(renderer_, grid, options, noiseSeed, frame);
    return true;
}

} // namespace synth
} // namespace pdf417
