// Both entries, Barcode2DScanner and read(), on symbols libzint encodes and
// the renderer draws: every message kind, error correction level and quarter
// turn, with mild tilt, blur and noise. A wrong read fails wherever it is.
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Read.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>

namespace pdf417::test {
namespace {

constexpr int kSupportedCases = 36; // every kind with every turn, every level four times

struct GridCase {
    MessageKind kind = MessageKind::Text;
    int level = 0;
    int turn = 0; // quarter turns clockwise
    SymbolCase placement;
    std::string message;
    Pdf417Modules symbol;
};

// Case i has kind i % 3, turn i % 4 and level i % 9, and a size where the
// scanner is built to read: modules of 3 pixels or more, at least 60 pixels
// high, at most 28 data columns (the vote table holds 30 with both
// indicators), rows drifting by at most half the height; some near those
// limits. Past kSupportedCases: wider symbols and finer modules. Messages
// that libzint opens with a byte shift, which the scanner reads as text on
// purpose (see MessageSymbol.h), are drawn again.
GridCase drawCase(std::mt19937& rng, int i) {
    GridCase c;
    c.kind = static_cast<MessageKind>(i % 3);
    c.level = i % 9;
    c.turn = i % 4;
    // Levels 0 and 1 correct one and two errors: one codeword misread where
    // module edges fall between pixels loses them. So whole-pixel modules,
    // no tilt, no blur or noise (and see below for a quarter turn).
    const bool weak = c.level < 2;
    const bool tilted = (i / 4) % 2 == 1 && !weak; // every turn, tilted and not
    const double tilt = tilted ? static_cast<double>(rng() % 401) / 100.0 - 2.0 : 0.0;
    c.placement.rotation = 90.0 * c.turn + tilt;
    c.placement.mild = !weak && i % 5 == 0;
    const bool outside = i >= kSupportedCases;
    const int needed = 2 + (2 << c.level); // length descriptor, one data codeword, checks
    for (;;) {
        const bool roomy = needed > 100; // else small symbols, quick to draw
        int columns = 1 + static_cast<int>(rng() % (roomy ? 28 : 12));
        int rows = 7 + static_cast<int>(rng() % (roomy ? 84 : 30));
        if (i % 12 == 11 || (outside && i % 2 == 0)) {
            columns = outside ? 29 + (i / 2) % 2 : 24 + static_cast<int>(rng() % 5);
        } else if (i % 12 == 3) {
            rows = 70 + static_cast<int>(rng() % 21);
        }
        const double width = columns * 17.0 + 69.0;
        const double drift = width * std::fabs(std::sin(tilt * 3.14159265358979 / 180.0));
        if (rows * columns > 928 || rows * columns < needed || drift > rows * 1.5) {
            continue;
        }
        // Frames under 0.35 megapixels keep the grid quick.
        const bool fine = outside && i % 2 == 1;
        const double least = fine ? 2.0 : 3.0;
        const double most =
            fine ? 2.9 : std::min(4.0, std::sqrt(0.35e6 / (width + 4) / (rows * 3 + 4)));
        if (most < least || rows * 3.0 * least < 60.0) {
            continue;
        }
        c.placement.module = least + (most - least) * static_cast<double>(rng() % 1001) / 1000.0;
        if (weak && !fine) {
            c.placement.module = std::floor(c.placement.module);
        }
        const double fill = 0.2 + 0.8 * static_cast<double>(rng() % 1001) / 1000.0;
        if (!encodeMessageSymbol(c.kind, rows, columns, c.level, fill, rng, c.message, c.symbol) ||
            opensWithByteShift(c.symbol, c.level)) {
            continue;
        }
        c.placement.rows = rows;
        c.placement.columns = columns;
        return c;
    }
}

TEST(ScanEndToEnd, GeneratedSymbolsComeBackByteForByteWithTheirGeometry) {
    std::mt19937 rng(20240611);
    for (int i = 0; i < kSupportedCases + 4; ++i) {
        const GridCase c = drawCase(rng, i);
        const auto frame = renderCase(c.symbol, c.placement, static_cast<std::uint64_t>(i) + 1);
        SCOPED_TRACE("case " + std::to_string(i) + ": " + kindName(c.kind) + " level " +
                     std::to_string(c.level) + ", " + c.placement.describe());
        const std::string scanned = Barcode2DScanner().scanGrayscaleImage(
            reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
        const ReadResult r =
            read(ImageView(frame.pixels.data(), frame.pixels.size(), frame.width, frame.height));
        const std::string bytes(r.bytes.begin(), r.bytes.end());
        if (i >= kSupportedCases) {
            // Anything read must be the message; wider than the vote table,
            // the scanner reads nothing.
            EXPECT_TRUE(scanned.empty() || (scanned == c.message && c.placement.columns <= 28));
            EXPECT_TRUE(r.bytes.empty() || bytes == c.message);
            continue;
        }
        // A quarter turn clockwise is read through the scanner's rotated view,
        // whose line sampling lands a pixel off: levels 0 and 1 may not cope.
        EXPECT_TRUE(scanned == c.message || (c.level < 2 && c.turn == 1 && scanned.empty()))
            << scanned;
        ASSERT_TRUE(r.ok());
        EXPECT_EQ(bytes, c.message);
        EXPECT_EQ(r.rows, c.placement.rows);
        EXPECT_EQ(r.dataColumns, c.placement.columns);
        EXPECT_EQ(r.ecLevel, c.level);
        EXPECT_NE(r.chain, ReadChain::None);
        // Corners named in the symbol's own reading direction wherever the
        // turn put it, within a module of the truth; a module and a half when
        // tilted, as the fast chain draws the outline through the locator's
        // points on the start and stop bars, which a tilt moves along them.
        const double slack = c.placement.rotation == 90.0 * c.turn ? 1.0 : 1.5;
        const double w = frame.widthModules, h = frame.heightModules;
        const Vec2 truth[4] = {frame.toFrame(0, 0), frame.toFrame(w, 0), frame.toFrame(w, h),
                               frame.toFrame(0, h)};
        for (int k = 0; k < 4; ++k) {
            EXPECT_LT(std::hypot(r.corners[k].x() - truth[k].x, r.corners[k].y() - truth[k].y),
                      slack * frame.modulePixels)
                << "corner " << k;
        }
    }
}

} // namespace
} // namespace pdf417::test
