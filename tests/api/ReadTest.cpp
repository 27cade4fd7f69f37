// The reading API: argument checks, every pixel layout, what the whole
// standard's decoding changes for a user, and frames pooled by a FrameReader.
#include "pdf417scan/api/Read.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/FrameReader.h"
#include "tests/support/Glare.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

std::string bytesOf(const ReadResult& r) {
    return std::string(r.bytes.begin(), r.bytes.end());
}

ImageView viewOf(const SymbolRenderer::Frame& frame) {
    return ImageView(frame.pixels.data(), frame.pixels.size(), frame.width, frame.height);
}

// Refusals come before any pixel is read: the buffer is far smaller than most
// frames claim, so a read would be caught by the sanitizer.
TEST(Read, RefusesBadArgumentsBeforeReadingAPixel) {
    std::vector<std::uint8_t> pixels(64, 200);
    const std::uint8_t* p = pixels.data();
    const auto unknown = static_cast<PixelFormat>(9);
    struct Case {
        ImageView frame;
        ReadStatus status;
    };
    const Case cases[] = {
        {ImageView(nullptr, 64, 8, 8), ReadStatus::NullBuffer},
        {ImageView(nullptr, 0, 0, 0), ReadStatus::NullBuffer},
        {ImageView(p, 64, 8, 8, 8, unknown), ReadStatus::UnknownFormat},
        {ImageView(p, 64, 0, 8), ReadStatus::BadSize},
        {ImageView(p, 64, 8, 0), ReadStatus::BadSize},
        {ImageView(p, 64, -8, 8), ReadStatus::BadSize},
        {ImageView(p, 64, INT_MIN, INT_MIN), ReadStatus::BadSize},
        {ImageView(p, 64, 8, 8, 7), ReadStatus::StrideTooSmall},
        {ImageView(p, 64, 8, 8, -8), ReadStatus::StrideTooSmall},
        {ImageView(p, 64, 4, 4, 15, PixelFormat::RGBA), ReadStatus::StrideTooSmall},
        {ImageView(p, 63, 8, 8), ReadStatus::BufferTooSmall},
        {ImageView(p, 64, 8, 9), ReadStatus::BufferTooSmall},
        // The last row needs no padding, every other row its whole stride.
        {ImageView(p, 64, 8, 5, 12), ReadStatus::Read},
        {ImageView(p, 64, 8, 6, 12), ReadStatus::BufferTooSmall},
        {ImageView(p, 64, 8, 5, 12, PixelFormat::RGB), ReadStatus::StrideTooSmall},
        {ImageView(p, 64, 4, 4, 16, PixelFormat::RGBA), ReadStatus::Read},
        {ImageView(p, 64, 5, 4, 16, PixelFormat::RGB), ReadStatus::Read},
        {ImageView(p, 64, 5, 5, 16, PixelFormat::RGB), ReadStatus::BufferTooSmall},
        // Products that wrap in 32 or 64 bits.
        {ImageView(p, 64, 65536, 65536), ReadStatus::BufferTooSmall},
        {ImageView(p, 64, INT_MAX, INT_MAX, PixelFormat::BGRA), ReadStatus::BufferTooSmall},
        {ImageView(p, 64, 1, INT_MAX, PTRDIFF_MAX), ReadStatus::BufferTooSmall},
    };
    FrameReader reader;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.frame.width) + "x" + std::to_string(c.frame.height) +
                     " stride " + std::to_string(c.frame.rowStride) + " size " +
                     std::to_string(c.frame.size));
        EXPECT_EQ(FrameReader::check(c.frame), c.status);
        const ReadStatus expected =
            c.status == ReadStatus::Read ? ReadStatus::NothingFound : c.status;
        for (const ReadResult& r : {read(c.frame), reader.read(c.frame)}) {
            EXPECT_EQ(r.status, expected);
            EXPECT_TRUE(r.bytes.empty() && r.text.empty() && r.chain == ReadChain::None);
        }
    }
    // Each status described in words of its own.
    std::set<std::string> descriptions{""};
    for (int s = 0; s <= static_cast<int>(ReadStatus::UnknownFormat); ++s) {
        EXPECT_TRUE(descriptions.insert(describe(static_cast<ReadStatus>(s))).second) << s;
    }
}

// One frame in every pixel layout, rows padded, junk in padding and alpha,
// reads the same at the same place. Red carries the symbol and blue its
// negative, so with red and blue swapped the symbol is inverted and unread.
TEST(Read, EveryPixelLayoutReadsTheSame) {
    std::mt19937 rng(77);
    std::string message;
    Pdf417Modules symbol;
    ASSERT_TRUE(encodeMessageSymbol(MessageKind::Text, 12, 4, 3, 0.8, rng, message, symbol));
    const auto frame = renderCase(symbol, {12, 4, 3.0, 0.0});

    const ReadResult gray = read(viewOf(frame));
    ASSERT_TRUE(gray.ok());
    EXPECT_EQ(bytesOf(gray), message);

    const std::size_t padding = 13;
    for (const PixelFormat format : {PixelFormat::Luminance, PixelFormat::RGB, PixelFormat::BGR,
                                     PixelFormat::RGBA, PixelFormat::BGRA}) {
        const std::size_t bpp = static_cast<std::size_t>(bytesPerPixel(format));
        const std::size_t stride = frame.width * bpp + padding;
        std::vector<std::uint8_t> buffer(stride * frame.height);
        for (std::uint8_t& b : buffer) {
            b = static_cast<std::uint8_t>(rng());
        }
        const bool bgr = format == PixelFormat::BGR || format == PixelFormat::BGRA;
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                const std::uint8_t v = frame.at(x, y);
                std::uint8_t* px = &buffer[y * stride + x * bpp];
                px[bgr ? 2 : 0] = v;
                if (bpp > 1) {
                    px[1] = 128;
                    px[bgr ? 0 : 2] = static_cast<std::uint8_t>(255 - v);
                }
            }
        }
        SCOPED_TRACE(static_cast<int>(format));
        const ImageView view(buffer.data(), buffer.size() - padding, frame.width, frame.height,
                             static_cast<std::ptrdiff_t>(stride), format);
        const ReadResult r = read(view);
        ASSERT_TRUE(r.ok());
        EXPECT_EQ(r.bytes, gray.bytes);
        for (int c = 0; c < 4; ++c) {
            EXPECT_NEAR(r.corners[c].x(), gray.corners[c].x(), 1.5);
            EXPECT_NEAR(r.corners[c].y(), gray.corners[c].y(), 1.5);
        }
        if (format != PixelFormat::Luminance) {
            ImageView swapped = view;
            swapped.format = bgr ? (bpp == 3 ? PixelFormat::RGB : PixelFormat::RGBA)
                                 : (bpp == 3 ? PixelFormat::BGR : PixelFormat::BGRA);
            EXPECT_FALSE(read(swapped).ok());
        }
    }
}

// Where the two entries differ: a message that opens with a byte outside
// text comes back whole through read(), altered through the scanner, which
// reads the opening byte shift as text on purpose.
TEST(Read, ByteShiftOpeningsReadRightThroughTheFullDecoder) {
    std::mt19937 rng(99);
    int shifted = 0;
    for (int i = 0; i < 8; ++i) {
        std::string message(1, static_cast<char>(0x80 + rng() % 128));
        message += "opening byte then text " + std::to_string(i);
        Pdf417Modules symbol;
        ASSERT_TRUE(encodePdf417(message, {3, 2, 0}, symbol));
        const auto frame = renderCase(symbol, {symbol.rows, 3, 3.0, 0.0});
        const ReadResult r = read(viewOf(frame));
        ASSERT_TRUE(r.ok()) << i;
        EXPECT_EQ(bytesOf(r), message);
        // The default character set is ISO/IEC 8859-1: the high byte is one
        // two-byte UTF-8 sequence.
        EXPECT_EQ(r.text.size(), message.size() + 1);
        if (opensWithByteShift(symbol, 2)) {
            ++shifted;
            EXPECT_NE(
                Barcode2DScanner().scanGrayscaleImage(
                    reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height),
                message);
        }
    }
    EXPECT_GT(shifted, 0);
}

// Each frame loses a third of its data columns, beyond correction; one
// FrameReader pools two into a reading, and reset() forgets: upright in the
// fast chain's vote table, turned by 30 degrees in the precise chain's.
TEST(FrameReader, PoolsFramesThatCannotReadAlone) {
    const std::string message =
        "Frames pool their votes, so glare that moves between frames does not stop a reading.";
    Pdf417Modules symbol;
    ASSERT_TRUE(encodePdf417(message, {6, 2, 0}, symbol));
    const ModuleGrid grid(symbol);
    SymbolRenderer renderer;
    for (const double angle : {0.0, 30.0}) {
        SCOPED_TRACE(angle);
        std::vector<SymbolRenderer::Frame> frames;
        for (int band = 0; band < 3; ++band) {
            SymbolRenderer::Options options;
            options.frameWidth = 640;
            options.frameHeight = 400;
            options.moduleWidth = 3.0;
            options.rotationDegrees = angle + band;
            options.centerX = 320.0 + 5.0 * band;
            options.centerY = 200.0 - 3.0 * band;
            options.blurSigma = 0.5;
            options.noiseSigma = 2.0;
            options.seed = 10 + static_cast<std::uint64_t>(band);
            frames.push_back(renderer.render(grid, options));
            addGlare(frames.back(), 2 * band, 2 * band + 1);
            EXPECT_FALSE(read(viewOf(frames.back())).ok()) << band;
        }
        FrameReader reader;
        EXPECT_FALSE(reader.read(viewOf(frames[0])).ok());
        const ReadResult pooled = reader.read(viewOf(frames[2]));
        ASSERT_TRUE(pooled.ok());
        EXPECT_EQ(bytesOf(pooled), message);
        EXPECT_EQ(pooled.chain, angle == 0.0 ? ReadChain::Fast : ReadChain::Precise);

        // After a reading the votes start afresh, and reset() drops them too.
        EXPECT_FALSE(reader.read(viewOf(frames[1])).ok());
        reader.reset();
        EXPECT_FALSE(reader.read(viewOf(frames[0])).ok());
        EXPECT_TRUE(reader.read(viewOf(frames[1])).ok());
    }
}

} // namespace
} // namespace pdf417::test
