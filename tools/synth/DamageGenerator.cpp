#include "tools/synth/DamageGenerator.h"

#include "tests/support/ModuleGrid.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CameraLook.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/MessageMaker.h"
#include "tools/synth/Placement.h"
#include "tools/synth/Random.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace pdf417 {
namespace synth {

namespace {

using test::Vec2;

constexpr double QUIET_ZONE = 2.0;
constexpr int MAX_COLUMNS = 10;
constexpr double PI = 3.14159265358979323846;
const char* const KINDS[] = {"spread", "shrink", "marker", "stripes", "blob"};

// Distance from p to the segment of half-length `reach` through c along d
// (a unit vector).
double toSegment(Vec2 p, Vec2 c, Vec2 d, double reach) {
    const double along = std::clamp((p.x - c.x) * d.x + (p.y - c.y) * d.y, -reach, reach);
    const double dx = p.x - c.x - along * d.x;
    const double dy = p.y - c.y - along * d.y;
    return std::sqrt(dx * dx + dy * dy); // hypot's care for overflow costs here
}

// One mark over the symbol, shrunk about its centre by `scale` (0, 1] until
// it reaches few enough codewords.
struct Mark {
    int kind = 0;
    double width = 0.0; // stroke or stripe width, blob diameter (modules)
    bool ink = true;
    std::vector<Vec2> centres;
    std::vector<Vec2> directions; // unit, one per centre (blob: unused)
    std::vector<double> reaches;  // half-lengths at scale 1
    double phase1 = 0.0;
    double phase2 = 0.0;
    double scale = 1.0;

    // Whether the mark may cover any point within `reach` of (u, v).
    bool near(double u, double v, double reach) const {
        const Vec2 p{u, v};
        for (std::size_t i = 0; i < centres.size(); ++i) {
            const double distance =
                kind == 4
                    ? std::hypot(u - centres[i].x, v - centres[i].y) - 0.7 * width * scale
                    : toSegment(p, centres[i], directions[i], reaches[i] * scale) - width / 2.0;
            if (distance <= reach) {
                return true;
            }
        }
        return false;
    }

    bool covers(double u, double v) const {
        const Vec2 p{u, v};
        for (std::size_t i = 0; i < centres.size(); ++i) {
            if (kind == 4) {
                const double dx = u - centres[i].x;
                const double dy = v - centres[i].y;
                const double distance = std::sqrt(dx * dx + dy * dy);
                // The wobble stays within 40 % of the radius.
                if (distance > 0.7 * width * scale) {
                    continue;
                }
                const double theta = std::atan2(dy, dx);
                const double radius = 0.5 * width * scale *
                                      (1.0 + 0.25 * std::sin(3.0 * theta + phase1) +
                                       0.15 * std::sin(5.0 * theta + phase2));
                if (distance <= radius) {
                    return true;
                }
            } else if (toSegment(p, centres[i], directions[i], reaches[i] * scale) <= width / 2.0) {
                return true;
            }
        }
        return false;
    }
};

} // namespace

bool DamageGenerator::make(std::uint64_t index, CorpusFrame& frame, std::string& error) {
    Random random(Random::derive(Random::derive(seed_, 0xDA4A), index));
    frame = CorpusFrame();
    test::CorpusEntry& entry = frame.entry;
    entry.corpus = "damage";
    const std::uint64_t noiseSeed = random.next();
    const CameraLook look = CameraLook::mild(random);
    double module = random.uniform(2.5, 6.0);
    const auto content = static_cast<ContentKind>(random.below(CONTENT_KIND_COUNT));
    frame.message = MessageMaker::make(content, random);
    const int level = 3 + static_cast<int>(random.below(4));
    const int wantColumns = 2 + static_cast<int>(random.below(MAX_COLUMNS - 1));
    const double rowHeight = random.uniform(3.0, 5.0);
    const double tilt = random.uniform(-5.0, 5.0);
    const double spread = random.uniform(0.0, 0.03);
    const int kind = static_cast<int>(random.below(5));

    test::Pdf417Modules symbol;
    const auto encode = [&](int columns, test::Pdf417Modules& out, std::string& refusal) {
        return test::encodePdf417(frame.message, {columns, level, 0}, out, &refusal);
    };
    if (!Placement::chooseLayout(encode, wantColumns, MAX_COLUMNS, rowHeight, QUIET_ZONE, tilt,
                                 spread, WIDTH, HEIGHT, module, symbol, error)) {
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
    Mark mark;
    mark.kind = kind;
    int hit = 0;
    if (kind <= 1) {
        mark.width = random.uniform(0.1, 0.5);
        options.inkSpread = kind == 0 ? mark.width : -mark.width;
    } else {
        const auto inside = [&]() {
            return Vec2{random.uniform(0.1, 0.9) * w, random.uniform(0.1, 0.9) * h};
        };
        if (kind == 2) { // a marker stroke, any direction, across the symbol
            mark.width = random.uniform(0.5, 2.0);
            const double angle = random.uniform(0.0, PI);
            mark.centres.push_back(inside());
            mark.directions.push_back(Vec2{std::cos(angle), std::sin(angle)});
            mark.reaches.push_back(w + h);
        } else if (kind == 3) { // stripes along the rows, or thinner across them
            const bool alongRows = random.chance(0.6);
            mark.width = alongRows ? random.uniform(0.2, 0.8) : random.uniform(0.15, 0.4);
            mark.ink = false;
            const int count = 1 + static_cast<int>(random.below(3));
            for (int i = 0; i < count; ++i) {
                const Vec2 c = inside();
                mark.centres.push_back(alongRows ? Vec2{w / 2.0, c.y} : Vec2{c.x, h / 2.0});
                mark.directions.push_back(alongRows ? Vec2{1.0, 0.0} : Vec2{0.0, 1.0});
                mark.reaches.push_back((alongRows ? w : h) / 2.0 + QUIET_ZONE);
            }
        } else { // a blob
            mark.width = random.uniform(2.0, 10.0);
            mark.ink = random.chance(0.75);
            mark.centres.push_back(inside());
            mark.directions.push_back(Vec2{1.0, 0.0});
            mark.reaches.push_back(0.0);
            mark.phase1 = random.uniform(0.0, 2.0 * PI);
            mark.phase2 = random.uniform(0.0, 2.0 * PI);
        }
        // Shrink the mark until twice the codewords it reaches fit the check
        // codewords.
        for (int attempt = 0; attempt < 60; ++attempt) {
            hit = footprint.count(
                [&](double u, double v) { return mark.covers(u, v); }, 0.1,
                [&](double u, double v, double reach) { return mark.near(u, v, reach); });
            if (2 * hit <= check) {
                break;
            }
            mark.scale *= 0.85;
        }
        if (2 * hit > check) {
            error = "no mark small enough for the check codewords";
            return false;
        }
        // What the mark may cover, for the renderer to take the rest whole.
        const double reach = mark.width * (mark.kind == 4 ? 0.7 * mark.scale : 0.5) + 0.01;
        options.marksBounds = {1e9, 1e9, -1e9, -1e9};
        for (std::size_t i = 0; i < mark.centres.size(); ++i) {
            const double along = mark.reaches[i] * mark.scale;
            for (const double end : {-along, along}) {
                const Vec2 p{mark.centres[i].x + end * mark.directions[i].x,
                             mark.centres[i].y + end * mark.directions[i].y};
                options.marksBounds = {std::min(options.marksBounds[0], p.x - reach),
                                       std::min(options.marksBounds[1], p.y - reach),
                                       std::max(options.marksBounds[2], p.x + reach),
                                       std::max(options.marksBounds[3], p.y + reach)};
            }
        }
        options.marks = [mark](double u, double v) {
            return mark.covers(u, v) ? (mark.ink ? 1 : 0) : -1;
        };
    }

    const Placement::Placed placed = Placement::placeAnywhere(
        grid, w, h, QUIET_ZONE, spread, -1, 1.0, WIDTH, HEIGHT, random, options, module);
    entry.perspective = placed.perspective;

    entry.content = contentName(content);
    entry.messageLength = static_cast<int>(frame.message.size());
    entry.columns = symbol.dataColumns;
    entry.rows = symbol.rows;
    entry.level = level;
    entry.checkCodewords = check;
    entry.hitCodewords = hit;
    entry.modulePx = module;
    entry.rowHeight = rowHeight;
    entry.rotation = tilt;
    entry.sideRatio = Placement::sideRatio(placed.quad);
    entry.quietZone = QUIET_ZONE;
    entry.fits = placed.fits;
    entry.damage = KINDS[kind];
    // A shrunk stroke or stripe is shorter, not thinner; a shrunk blob smaller.
    entry.damageAmount = kind == 4 ? mark.width * mark.scale : mark.width;
    look.render(renderer_, grid, options, noiseSeed, frame);
    return true;
}

} // namespace synth
} // namespace pdf417
