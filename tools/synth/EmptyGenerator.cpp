#include "tools/synth/EmptyGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/DecoyGrids.h"
#include "tools/synth/Random.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace pdf417 {
namespace synth {

namespace {

struct Box {
    int x0, y0, x1, y1;
    bool overlaps(const Box& o) const { return x0 < o.x1 && o.x0 < x1 && y0 < o.y1 && o.y0 < y1; }
};

// Copies `item`, each cell `scale` x `height` page cells, to (x, y).
void stamp(test::ModuleGrid& page, const test::ModuleGrid& item, int x, int y, int scale,
           int height) {
    for (int r = 0; r < item.rows(); ++r) {
        for (int c = 0; c < item.columns(); ++c) {
            for (int dy = 0; dy < height; ++dy) {
                for (int dx = 0; dx < scale; ++dx) {
                    const int px = x + c * scale + dx;
                    const int py = y + r * height + dy;
                    if (px < page.columns() && py < page.rows()) {
                        page.set(px, py, item.bar(c, r));
                    }
                }
            }
        }
    }
}

} // namespace

void EmptyGenerator::make(std::uint64_t index, CorpusFrame& frame) {
    Random random(Random::derive(Random::derive(seed_, 0xE3F7), index));
    frame = CorpusFrame();
    test::CorpusEntry& entry = frame.entry;
    entry.corpus = "empty";
    const std::uint64_t noiseSeed = random.next();
    CameraLook look = CameraLook::camera(random);
    const double module = random.uniform(1.5, 4.0);
    const double rotation = random.uniform(-8.0, 8.0);
    // The page reaches past the frame so that the turn shows no corner.
    test::ModuleGrid page(static_cast<int>(1.2 * WIDTH / module),
                          static_cast<int>(1.2 * WIDTH / module));
    const int marginX = static_cast<int>(0.1 * WIDTH / module);
    const int marginY = (page.rows() - static_cast<int>(HEIGHT / module)) / 2;
    const int usableX = static_cast<int>(WIDTH / module);
    const int usableY = static_cast<int>(HEIGHT / module);
    std::string content;
    if (random.chance(1.0 / 7.0)) {
        look.noise = random.uniform(10.0, 30.0);
        content = "noise";
    } else {
        std::vector<Box> placed;
        for (int items = 1 + static_cast<int>(random.below(4)); items > 0; --items) {
            const std::uint32_t kind = random.below(4);
            test::ModuleGrid item;
            std::string name;
            int scale = 1;
            int height = 1;
            if (kind == 0) {
                item = DecoyGrids::text(random);
                name = "text";
            } else if (kind == 1) {
                item = DecoyGrids::linearBarcode(random, name);
                height = 20 + static_cast<int>(random.below(50));
            } else if (kind == 2) {
                item = DecoyGrids::texture(random);
                scale = height = 2 + static_cast<int>(random.below(5));
                name = "texture";
            } else {
                item = DecoyGrids::stripes(random);
                height = 15 + static_cast<int>(random.below(40));
                name = "stripes";
            }
            const int w = item.columns() * scale;
            const int h = item.rows() * height;
            if (item.columns() == 0 || w >= usableX || h >= usableY) {
                continue;
            }
            for (int attempt = 0; attempt < 20; ++attempt) {
                const int x =
                    static_cast<int>(random.below(static_cast<std::uint32_t>(usableX - w)));
                const int y =
                    static_cast<int>(random.below(static_cast<std::uint32_t>(usableY - h)));
                // Ten cells of paper around each thing.
                const Box box{x - 10, y - 10, x + w + 10, y + h + 10};
                if (std::none_of(placed.begin(), placed.end(),
                                 [&](const Box& other) { return other.overlaps(box); })) {
                    placed.push_back(box);
                    stamp(page, item, marginX + x, marginY + y, scale, height);
                    content += (content.empty() ? "" : "+") + name;
                    break;
                }
            }
        }
        if (content.empty()) {
            content = "blank";
        }
    }
    test::SymbolRenderer::Options options;
    options.frameWidth = WIDTH;
    options.frameHeight = HEIGHT;
    options.moduleWidth = module;
    options.rowHeight = 1.0;
    options.quietZone = 0.0;
    options.rotationDegrees = rotation;
    entry.content = content;
    entry.modulePx = module;
    entry.rowHeight = 1.0;
    entry.rotation = rotation;
    entry.quietZone = 0.0;
    look.render(renderer_, page, options, noiseSeed, frame);
}

} // namespace synth
} // namespace pdf417
