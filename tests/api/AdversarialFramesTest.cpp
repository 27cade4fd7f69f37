// Frames built to trip the reading chain: degenerate sizes, rows longer than
// a 16-bit run, uniform and periodic pictures, start and stop patterns with
// no symbol between them, and a real symbol cut away at each edge. Every
// frame sits in a buffer of exactly width x height bytes, so a read past it
// is caught by the sanitizer build; each must come back with nothing, the
// refusal the checked entry owes it, or the symbol's own message.
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Scan.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/reader/PDF417Reader.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

constexpr unsigned char kInk = 30;
constexpr unsigned char kPaper = 220;

// Element widths in modules, bar first.
constexpr std::array<int, 8> kStartPattern = {8, 1, 1, 1, 1, 1, 1, 3};
constexpr std::array<int, 9> kStopPattern = {7, 1, 1, 3, 1, 1, 1, 2, 1};

struct Frame {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;

    Frame(int w, int h, unsigned char level)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * h, level) {}

    unsigned char& at(int x, int y) { return pixels[static_cast<std::size_t>(y) * width + x]; }
};

// Both entries on a heap copy of exactly width x height bytes (none at all
// for an empty frame). They must agree; returns what was read.
std::string scanExactly(const Frame& frame) {
    const std::size_t size = frame.pixels.size();
    std::unique_ptr<unsigned char[]> exact(size ? new unsigned char[size] : nullptr);
    std::copy(frame.pixels.begin(), frame.pixels.end(), exact.get());
    const std::string bytes = Barcode2DScanner().scanGrayscaleImage(
        reinterpret_cast<const char*>(exact.get()), frame.width, frame.height);
    const ScanResult checked = scan(exact.get(), size, frame.width, frame.height);
    if (frame.width > 0 && frame.height > 0) {
        EXPECT_EQ(checked.status, bytes.empty() ? ScanStatus::NothingRead : ScanStatus::Read);
        EXPECT_EQ(checked.bytes, bytes);
    }
    return bytes;
}

// Draws the elements from x on in every row, modules `module` pixels wide;
// whatever passes the right edge is cut off. Returns the x after them.
template <std::size_t N>
int drawPattern(Frame& frame, int x, const std::array<int, N>& widths, int module) {
    for (std::size_t e = 0; e < N; ++e) {
        const int end = x + widths[e] * module;
        for (; x < end; ++x) {
            if (x >= 0 && x < frame.width) {
                for (int y = 0; y < frame.height; ++y) {
                    frame.at(x, y) = e % 2 == 0 ? kInk : kPaper;
                }
            }
        }
    }
    return x;
}

TEST(AdversarialFrames, DegenerateSizesReadNothing) {
    // Nothing to read, and no pixel either: the checked entry refuses it.
    const Frame empty(0, 0, kPaper);
    EXPECT_EQ(scanExactly(empty), "");
    EXPECT_EQ(Barcode2DScanner().scanGrayscaleImage(nullptr, 0, 0), "");
    const ScanResult refused = scan(nullptr, 0, 0, 0);
    EXPECT_EQ(refused.status, ScanStatus::NullBuffer);
    unsigned char one = kPaper;
    EXPECT_EQ(scan(&one, 0, 0, 0).status, ScanStatus::BadDimensions);
    EXPECT_STREQ(describe(ScanStatus::BadDimensions), "width and height must be positive");
    EXPECT_EQ(scan(&one, 1, 5, 0).status, ScanStatus::BadDimensions);
    EXPECT_EQ(scan(&one, 1, 0, 5).status, ScanStatus::BadDimensions);

    for (const unsigned char level : {kInk, kPaper}) {
        EXPECT_EQ(scanExactly(Frame(1, 1, level)), "");
    }
    // Single rows and columns, plain and striped like bars.
    for (const int n : {2, 3, 17, 100, 1000, 40000}) {
        for (const bool striped : {false, true}) {
            Frame row(n, 1, kPaper);
            Frame column(1, n, kPaper);
            for (int i = 0; striped && i < n; ++i) {
                row.pixels[static_cast<std::size_t>(i)] = (i / 3) % 2 ? kInk : kPaper;
                column.pixels[static_cast<std::size_t>(i)] = (i / 3) % 2 ? kInk : kPaper;
            }
            EXPECT_EQ(scanExactly(row), "") << n << "x1";
            EXPECT_EQ(scanExactly(column), "") << "1x" << n;
        }
    }
}

// Runs are counted in 16 bits: 40,000 pixels of one level in a row are more
// than one run can hold.
TEST(AdversarialFrames, RowsLongerThanASixteenBitRun) {
    constexpr int kWide = 40000;
    for (const int height : {1, 2, 12}) {
        for (const unsigned char level : {kInk, kPaper}) {
            EXPECT_EQ(scanExactly(Frame(kWide, height, level)), "") << height << " rows";
        }
        // Start and stop patterns far apart, 20,000 pixels of paper before,
        // between and after them.
        Frame frame(kWide, height, kPaper);
        drawPattern(frame, 20000, kStartPattern, 3);
        drawPattern(frame, kWide - 100, kStopPattern, 3);
        EXPECT_EQ(scanExactly(frame), "") << height << " rows";
        // Ink from the start pattern's wide bar to the end of the row.
        Frame dark(kWide, height, kPaper);
        drawPattern(dark, 0, kStartPattern, 3);
        for (int x = 100; x < kWide; ++x) {
            for (int y = 0; y < height; ++y) {
                dark.at(x, y) = kInk;
            }
        }
        EXPECT_EQ(scanExactly(dark), "") << height << " rows";
    }
    // A narrow, tall frame: 40,000 rows, read again turned.
    EXPECT_EQ(scanExactly(Frame(3, kWide, kPaper)), "");
}

TEST(AdversarialFrames, UniformFramesReadNothing) {
    for (const int level : {0, 1, 30, 128, 220, 255}) {
        const auto gray = static_cast<unsigned char>(level);
        EXPECT_EQ(scanExactly(Frame(320, 240, gray)), "") << level;
        EXPECT_EQ(scanExactly(Frame(7, 5, gray)), "") << level;
    }
}

// Every row shows the same guard pattern: once at the left, repeated across
// the whole width at several module widths, or cut off by the right edge.
TEST(AdversarialFrames, GuardPatternsInEveryRowReadNothing) {
    for (const int module : {1, 2, 3, 5}) {
        Frame start(320, 240, kPaper);
        drawPattern(start, 40, kStartPattern, module);
        EXPECT_EQ(scanExactly(start), "") << "start, module " << module;

        Frame stop(320, 240, kPaper);
        drawPattern(stop, 200, kStopPattern, module);
        EXPECT_EQ(scanExactly(stop), "") << "stop, module " << module;

        Frame starts(320, 240, kPaper);
        Frame stops(320, 240, kPaper);
        for (int x = 0; x < 320;) {
            x = drawPattern(starts, x, kStartPattern, module);
        }
        for (int x = 0; x < 320;) {
            x = drawPattern(stops, x, kStopPattern, module);
        }
        EXPECT_EQ(scanExactly(starts), "") << "starts, module " << module;
        EXPECT_EQ(scanExactly(stops), "") << "stops, module " << module;

        // A start pattern with nothing after it: paper to the edge, or the
        // edge right behind it, or the edge through its middle.
        for (const int tail : {60, 0, -8 * module}) {
            const int width = 20 + 17 * module + tail;
            Frame alone(width, 90, kPaper);
            drawPattern(alone, 20, kStartPattern, module);
            EXPECT_EQ(scanExactly(alone), "") << "start alone, tail " << tail;
        }

        // Start and stop facing each other with no codeword columns between
        // them, and with an empty gap where the columns should be.
        for (const int gap : {0, 17 * module, 51 * module}) {
            Frame guards(60 + 35 * module + gap, 120, kPaper);
            const int x = drawPattern(guards, 30, kStartPattern, module);
            drawPattern(guards, x + gap, kStopPattern, module);
            EXPECT_EQ(scanExactly(guards), "") << "guards, gap " << gap;
        }
    }
}

// Start and stop patterns around random bars and spaces of one to six
// modules: rows that look like a symbol's to the detector, with nothing in
// them that decodes.
TEST(AdversarialFrames, RandomBarsBetweenGuardsReadNothing) {
    std::mt19937 rng(929);
    for (int trial = 0; trial < 12; ++trial) {
        const int module = 2 + trial % 3;
        Frame frame(60 + (35 + 68) * module, 40 + 30 * module, kPaper);
        int x = drawPattern(frame, 30, kStartPattern, module);
        const int end = x + 68 * module;
        for (bool bar = true; x < end; bar = !bar) {
            const int width = (1 + static_cast<int>(rng() % 6)) * module;
            for (int i = 0; i < width && x < end; ++i, ++x) {
                // Same bars in every band of rows three modules high.
                for (int y = 0; y < frame.height; ++y) {
                    const bool flip = (y / (3 * module)) % 2 == 1 && rng() % 8 == 0;
                    frame.at(x, y) = bar != flip ? kInk : kPaper;
                }
            }
        }
        drawPattern(frame, end, kStopPattern, module);
        EXPECT_EQ(scanExactly(frame), "") << "trial " << trial;
    }
}

TEST(AdversarialFrames, CheckerboardsReadNothing) {
    for (int period = 1; period <= 20; ++period) {
        Frame board(320, 240, kPaper);
        for (int y = 0; y < board.height; ++y) {
            for (int x = 0; x < board.width; ++x) {
                board.at(x, y) = (x / period + y / period) % 2 ? kInk : kPaper;
            }
        }
        EXPECT_EQ(scanExactly(board), "") << "period " << period;
    }
}

// A readable symbol cropped further and further at one side, every second
// pixel, until a strip of it is left: each crop reads as the message or not
// at all, and crops inside the margin around the symbol still read.
TEST(AdversarialFrames, SymbolCutAtEveryEdge) {
    std::mt19937 rng(417);
    std::string message;
    Pdf417Modules symbol;
    ASSERT_TRUE(encodeMessageSymbol(MessageKind::Text, 10, 2, 2, 0.8, rng, message, symbol));
    ASSERT_FALSE(opensWithByteShift(symbol, 2));
    SymbolCase placement;
    placement.rows = 10;
    placement.columns = 2;
    placement.module = 3.0;
    const auto rendered = renderCase(symbol, placement);
    constexpr int kMargin = 20; // renderCase's, quiet zone not included

    Frame full(rendered.width, rendered.height, kPaper);
    full.pixels = rendered.pixels;
    ASSERT_EQ(scanExactly(full), message);

    enum Side { Left, Right, Top, Bottom };
    for (const Side side : {Left, Right, Top, Bottom}) {
        const bool across = side == Left || side == Right;
        const int extent = across ? full.width : full.height;
        int read = 0;
        for (int cut = 1; cut < extent; cut += 2) {
            const int width = across ? full.width - cut : full.width;
            const int height = across ? full.height : full.height - cut;
            const int x0 = side == Left ? cut : 0;
            const int y0 = side == Top ? cut : 0;
            Frame cropped(width, height, kPaper);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    cropped.at(x, y) = full.at(x0 + x, y0 + y);
                }
            }
            const std::string bytes = scanExactly(cropped);
            if (!bytes.empty()) {
                EXPECT_EQ(bytes, message) << "side " << side << ", cut " << cut;
                ++read;
            }
            if (cut <= kMargin) {
                EXPECT_EQ(bytes, message) << "side " << side << ", cut " << cut;
            }
        }
        EXPECT_LT(read, extent / 2) << "side " << side; // crops into the symbol must fail
    }
}

// A real symbol whose codewords are replaced: located, cut and sampled like
// any other, then refused by error correction, not read as something else.
TEST(AdversarialFrames, SymbolsWithGarbageCodewordsReadNothing) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 6; ++trial) {
        std::string message;
        Pdf417Modules symbol;
        const int rows = 10 + trial;
        const int columns = 1 + trial % 3;
        ASSERT_TRUE(
            encodeMessageSymbol(MessageKind::Text, rows, columns, 2, 0.8, rng, message, symbol));
        // Random codewords in every data column, or 17 spaces where each was;
        // only the length descriptor stays, so that the codewords are
        // extracted and handed to error correction.
        const bool erased = trial % 2 == 1;
        for (int row = 0; row < rows; ++row) {
            for (int column = row == 0 ? 2 : 1; column <= columns; ++column) {
                const int value = erased ? -1 : static_cast<int>(rng() % 929);
                ASSERT_TRUE(drawCodeword(symbol, row, column, value));
            }
        }
        SymbolCase placement;
        placement.rows = rows;
        placement.columns = columns;
        placement.module = 3.0;
        placement.rotation = 90.0 * (trial % 4);
        auto rendered = renderCase(symbol, placement, static_cast<std::uint64_t>(trial) + 1);
        Frame frame(rendered.width, rendered.height, kPaper);
        frame.pixels = rendered.pixels;
        EXPECT_EQ(scanExactly(frame), "") << "trial " << trial;

        if (trial % 4 == 0) {
            // Upright, the reader gets as far as error correction.
            auto reader = std::make_unique<PDF417Reader>();
            std::vector<unsigned char> out;
            EXPECT_EQ(reader->decode(rendered.image(), out), PDF417Reader::CorrectionFailed)
                << "trial " << trial;
        }
    }
}

} // namespace
} // namespace pdf417::test
