// Frames built to trip the reading chain, each in a buffer of exactly width x
// height bytes so that the sanitizer build catches a read past it: each gives
// nothing, the refusal the checked entry owes it, or the symbol's message.
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Read.h"
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

    // Each pixel's gray level from level(x, y).
    template <typename Level>
    Frame(int w, int h, Level level) : width(w), height(h) {
        pixels.reserve(static_cast<std::size_t>(w) * h);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                pixels.push_back(static_cast<unsigned char>(level(x, y)));
            }
        }
    }
    Frame(int w, int h, unsigned char level) : Frame(w, h, [=](int, int) { return level; }) {}
    explicit Frame(const SymbolRenderer::Frame& f)
        : width(f.width), height(f.height), pixels(f.pixels.begin(), f.pixels.end()) {}

    unsigned char& at(int x, int y) { return pixels[static_cast<std::size_t>(y) * width + x]; }
};

// What both entries read from a heap copy of exactly the frame's bytes; the
// reading API reads at least what the scanner reads.
std::string scanExactly(const Frame& frame) {
    const std::size_t size = frame.pixels.size();
    std::unique_ptr<unsigned char[]> exact(size ? new unsigned char[size] : nullptr);
    std::copy(frame.pixels.begin(), frame.pixels.end(), exact.get());
    const std::string bytes = Barcode2DScanner().scanGrayscaleImage(
        reinterpret_cast<const char*>(exact.get()), frame.width, frame.height);
    const ReadResult checked = read(ImageView(exact.get(), size, frame.width, frame.height));
    const std::string got(checked.bytes.begin(), checked.bytes.end());
    if (frame.width > 0 && frame.height > 0) {
        EXPECT_EQ(checked.status,
                  got.empty() && !checked.ok() ? ReadStatus::NothingFound : ReadStatus::Read);
        if (!bytes.empty()) {
            EXPECT_EQ(got, bytes);
        }
    } else {
        EXPECT_EQ(checked.status, size ? ReadStatus::BadSize : ReadStatus::NullBuffer);
    }
    return got;
}

// Draws the elements from x on in every row, modules `module` pixels wide;
// whatever passes the right edge is cut off. Returns the x after them.
template <std::size_t N>
int drawPattern(Frame& frame, int x, const std::array<int, N>& widths, int module) {
    for (std::size_t e = 0; e < N; ++e) {
        for (const int end = x + widths[e] * module; x < end; ++x) {
            for (int y = 0; x >= 0 && x < frame.width && y < frame.height; ++y) {
                frame.at(x, y) = e % 2 == 0 ? kInk : kPaper;
            }
        }
    }
    return x;
}

TEST(AdversarialFrames, FramesWithoutSymbolsReadNothing) {
    const auto nothing = [](const std::string& name, const Frame& frame) {
        EXPECT_EQ(scanExactly(frame), "") << name;
    };
    // No pixel at all; single pixels, rows and columns, plain and striped.
    EXPECT_EQ(Barcode2DScanner().scanGrayscaleImage(nullptr, 0, 0), "");
    nothing("0x0", Frame(0, 0, kPaper));
    const auto stripes = [](int x, int y) { return ((x + y) / 3) % 2 ? kInk : kPaper; };
    for (const int n : {1, 2, 3, 17, 100, 1000, 40000}) {
        const std::string size = std::to_string(n);
        nothing(size + "x1", Frame(n, 1, kPaper));
        nothing("1x" + size, Frame(1, n, kInk));
        nothing(size + "x1 striped", Frame(n, 1, stripes));
        nothing("1x" + size + " striped", Frame(1, n, stripes));
    }

    // Runs are counted in 16 bits: rows of 40,000 pixels, plain, with start
    // and stop patterns 20,000 pixels apart, or ink from the start pattern's
    // wide bar on; 40,000 rows, read again turned.
    constexpr int kWide = 40000;
    for (const int height : {1, 2, 12}) {
        const std::string rows = ", " + std::to_string(height) + " rows";
        nothing("wide ink" + rows, Frame(kWide, height, kInk));
        nothing("wide paper" + rows, Frame(kWide, height, kPaper));
        Frame guards(kWide, height, kPaper);
        drawPattern(guards, 20000, kStartPattern, 3);
        drawPattern(guards, kWide - 100, kStopPattern, 3);
        nothing("wide guards" + rows, guards);
        Frame dark(kWide, height, [](int x, int) { return x < 100 ? kPaper : kInk; });
        drawPattern(dark, 0, kStartPattern, 3);
        nothing("wide dark" + rows, dark);
    }
    nothing("tall", Frame(3, kWide, kPaper));

    // All black, all white, the gray between; noise; bars and stripes.
    for (const unsigned char level : {0, 1, 30, 128, 220, 255}) {
        nothing("uniform " + std::to_string(level), Frame(320, 240, level));
        nothing("small uniform " + std::to_string(level), Frame(7, 5, level));
    }
    std::mt19937 rng(9);
    nothing("noise", Frame(320, 240, [&](int, int) { return rng(); }));
    nothing("vertical bars",
            Frame(320, 240, [](int x, int) { return (x / 3) % 2 ? kPaper : kInk; }));
    nothing("horizontal stripes",
            Frame(320, 240, [](int, int y) { return y % 2 ? kPaper : kInk; }));
    for (int period = 1; period <= 20; ++period) {
        nothing("checkerboard " + std::to_string(period), Frame(320, 240, [=](int x, int y) {
                    return (x / period + y / period) % 2 ? kInk : kPaper;
                }));
    }

    for (const int module : {1, 2, 3, 5}) {
        const std::string m = ", module " + std::to_string(module);
        // Every row a start pattern, or a stop pattern: once, or repeated
        // across the whole width.
        Frame start(320, 240, kPaper), stop(320, 240, kPaper);
        Frame starts(320, 240, kPaper), stops(320, 240, kPaper);
        drawPattern(start, 40, kStartPattern, module);
        drawPattern(stop, 200, kStopPattern, module);
        for (int x = 0; x < 320;) {
            x = drawPattern(starts, x, kStartPattern, module);
        }
        for (int x = 0; x < 320;) {
            x = drawPattern(stops, x, kStopPattern, module);
        }
        nothing("start" + m, start);
        nothing("stop" + m, stop);
        nothing("starts" + m, starts);
        nothing("stops" + m, stops);
        // A start pattern with nothing after it: paper to the edge, the
        // edge right behind it, or the edge through its middle.
        for (const int tail : {60, 0, -8 * module}) {
            Frame alone(20 + 17 * module + tail, 90, kPaper);
            drawPattern(alone, 20, kStartPattern, module);
            nothing("start alone, tail " + std::to_string(tail) + m, alone);
        }
        // Start and stop facing each other with no codeword columns between
        // them, and with an empty gap where the columns should be.
        for (const int gap : {0, 17 * module, 51 * module}) {
            Frame guards(60 + 35 * module + gap, 120, kPaper);
            drawPattern(guards, drawPattern(guards, 30, kStartPattern, module) + gap, kStopPattern,
                        module);
            nothing("guards, gap " + std::to_string(gap) + m, guards);
        }
    }

    // Start and stop patterns around random bars of one to six modules, alike
    // in every row but a few flipped in every second band of three modules:
    // a symbol's rows to the detector, with nothing in them that decodes.
    for (int trial = 0; trial < 12; ++trial) {
        const int module = 2 + trial % 3;
        Frame frame(60 + (35 + 68) * module, 40 + 30 * module, kPaper);
        int x = drawPattern(frame, 30, kStartPattern, module);
        const int end = x + 68 * module;
        for (bool bar = true; x < end; bar = !bar) {
            const int width = (1 + static_cast<int>(rng() % 6)) * module;
            for (int i = 0; i < width && x < end; ++i, ++x) {
                for (int y = 0; y < frame.height; ++y) {
                    const bool flip = (y / (3 * module)) % 2 == 1 && rng() % 8 == 0;
                    frame.at(x, y) = bar != flip ? kInk : kPaper;
                }
            }
        }
        drawPattern(frame, end, kStopPattern, module);
        nothing("random bars " + std::to_string(trial), frame);
    }
}

// A readable symbol cropped further and further at one side, a module at a
// time, until a strip of it is left: each crop reads as the message or not
// at all, and crops inside the margin around the symbol still read.
TEST(AdversarialFrames, SymbolCutAtEveryEdge) {
    std::mt19937 rng(417);
    std::string message;
    Pdf417Modules symbol;
    ASSERT_TRUE(encodeMessageSymbol(MessageKind::Text, 10, 2, 2, 0.8, rng, message, symbol));
    ASSERT_FALSE(opensWithByteShift(symbol, 2));
    const Frame full(renderCase(symbol, {10, 2, 3.0}));
    constexpr int kMargin = 20; // renderCase's, quiet zone not included
    ASSERT_EQ(scanExactly(full), message);

    enum Side { Left, Right, Top, Bottom };
    for (const Side side : {Left, Right, Top, Bottom}) {
        const bool across = side == Left || side == Right;
        const int extent = across ? full.width : full.height;
        int read = 0;
        for (int cut = 1; cut < extent; cut += 3) {
            const int x0 = side == Left ? cut : 0;
            const int y0 = side == Top ? cut : 0;
            const Frame cropped(
                full.width - (across ? cut : 0), full.height - (across ? 0 : cut),
                [&](int x, int y) {
                    return full.pixels[static_cast<std::size_t>(y0 + y) * full.width + x0 + x];
                });
            const std::string bytes = scanExactly(cropped);
            if (!bytes.empty() || cut <= kMargin) {
                EXPECT_EQ(bytes, message) << "side " << side << ", cut " << cut;
                ++read;
            }
        }
        EXPECT_LT(read, extent / 6) << "side " << side; // crops into the symbol must fail
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
        // Random codewords, or 17 spaces, in every data cell but the length
        // descriptor, so that the codewords reach error correction.
        const bool erased = trial % 2 == 1;
        for (int row = 0; row < rows; ++row) {
            for (int column = row == 0 ? 2 : 1; column <= columns; ++column) {
                const int value = erased ? -1 : static_cast<int>(rng() % 929);
                ASSERT_TRUE(drawCodeword(symbol, row, column, value));
            }
        }
        auto rendered = renderCase(symbol, {rows, columns, 3.0, 90.0 * (trial % 4)},
                                   static_cast<std::uint64_t>(trial) + 1);
        EXPECT_EQ(scanExactly(Frame(rendered)), "") << "trial " << trial;
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
