// The per-scan-line work allocates nothing once the stages' buffers have
// grown: locating, recognising codewords and correcting errors.
#include "pdf417scan/api/FrameReader.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/reader/MessageDecoder.h"
#include "pdf417scan/sampling/CodeWordRecognizer.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/DataCodewords.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/ModuleLineRenderer.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/RandomCodewords.h"
#include "tests/support/SymbolCase.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using test::allocationsDuring;

TEST(LocateAllocation, NoneOnceBuffersHaveGrown) {
    std::mt19937 rng(5);
    std::string message;
    test::Pdf417Modules symbol;
    ASSERT_TRUE(
        test::encodeMessageSymbol(test::MessageKind::Text, 24, 8, 2, 1.0, rng, message, symbol));
    auto frame = test::renderCase(symbol, {24, 8, 3.0, 2.0, false, true});
    Image image = frame.image();
    std::vector<unsigned char> blank(800 * 400, 128);
    Image empty(blank.data(), 800, 400);

    Detector detector;
    Cutter cutter;
    std::array<Point2D, 6> corners;
    Cutter::Lines lines;
    const auto locate = [&] {
        ASSERT_TRUE(detector.detect(image, corners));
        ASSERT_TRUE(cutter.cut(image, corners, lines));
        EXPECT_FALSE(detector.detect(empty, corners));
    };
    // The first call grows the buffers (and shows the counter sees them).
    EXPECT_GT(allocationsDuring(locate), 0);
    EXPECT_EQ(allocationsDuring(locate), 0);
}

TEST(CodeWordRecognizerAllocation, NoneOnceGrown) {
    std::mt19937 rng(12);
    test::LineStyle style;
    style.blurSigma = 0.5;
    style.noiseSigma = 6.0;
    std::vector<std::vector<unsigned char>> stretches;
    for (const test::CodewordPattern& p : test::codewordPatterns()) {
        style.pixelsPerModule = 1.5 + static_cast<double>(rng() % 46) / 10.0;
        stretches.push_back(
            test::renderModuleLine(test::patternModules(p.widths), -0.3, 17.2, style, rng));
    }
    // Flat, empty and odd stretches too: every path through recognize.
    stretches.push_back(std::vector<unsigned char>(40, 9));
    stretches.push_back({});
    stretches.push_back({0, 255, 0, 255, 0, 255, 0});
    ASSERT_GT(stretches.size(), 2787u);

    // Grow the buffers on the longest stretch first.
    CodeWordRecognizer recognizer;
    recognizer.recognize(
        *std::max_element(stretches.begin(), stretches.end(),
                          [](const auto& a, const auto& b) { return a.size() < b.size(); }));
    int valid = 0;
    EXPECT_EQ(allocationsDuring([&] {
                  for (const auto& stretch : stretches) {
                      valid += recognizer.recognize(stretch).isValid() ? 1 : 0;
                  }
              }),
              0);
    EXPECT_GT(valid, 2000);
}

// After a first call has sized the working vectors, decoding another word of
// the same level and length touches no heap, whatever the damage.
TEST(RS929DecoderAllocation, NoAllocationAfterTheFirstCall) {
    std::mt19937 rng(6);
    RS929Decoder decoder;
    for (unsigned level : {2u, 5u, 8u}) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        const std::vector<G929Value> original = test::randomCodeword(rng, level, 928);
        std::vector<G929Value> word;
        std::vector<unsigned long> positions;
        word.reserve(928);
        positions.reserve(928);
        for (int call = 0; call < 4; ++call) {
            word = original;
            positions.clear();
            // Different damage on each call, as much as the decoder accepts.
            const std::size_t erasures = static_cast<std::size_t>(call);
            const std::size_t most = (k - 2 - erasures) / 2;
            const std::size_t errors = most < 4 ? (k - 3 - erasures) / 2 : most;
            for (std::size_t i = 0; i < errors + erasures; ++i) {
                const std::size_t p = (7 * i + static_cast<std::size_t>(call)) % 928;
                word[927 - p] = test::gf((word[927 - p].value() + 1) % 929);
                if (i >= errors) {
                    positions.push_back(p);
                }
            }
            bool ok = false;
            const long count =
                allocationsDuring([&] { ok = decoder.decode(word, positions, level); });
            ASSERT_TRUE(ok) << "level " << level << " call " << call;
            ASSERT_EQ(word, original);
            EXPECT_EQ(call == 0 ? 0 : count, 0) << "level " << level << " call " << call;
        }
    }
}

// Decoding a message again into the same output reuses its storage: ECIs
// (one read through iconv, whose descriptor stays open), all three modes and
// a Macro PDF417 block.
TEST(MessageDecoderAllocation, NoneOnceTheOutputHasGrown) {
    test::ZintOptions options;
    options.ecLevel = 2;
    options.dataColumns = 10;
    options.utf8 = true;
    options.structIndex = 2;
    options.structCount = 5;
    options.structId = "123456";
    const std::vector<unsigned short> words =
        test::zintDataCodewords({{"Total: 12345678901234567 EUR", 3},
                                 {"\xE6\x97\xA5\xE6\x9C\xAC", 20},
                                 {"gr\xC3\xBC\xC3\x9F", 26}},
                                options);
    ASSERT_FALSE(words.empty());
    MessageDecoder decoder;
    DecodedMessage out;
    bool ok = false;
    const auto decode = [&] { ok = decoder.decode(words.data(), words.size(), out); };
    EXPECT_GT(allocationsDuring(decode), 0);
    ASSERT_TRUE(ok);
    ASSERT_EQ(out.ecis.size(), 3u);
    ASSERT_TRUE(out.macro.has_value());
    EXPECT_EQ(allocationsDuring(decode), 0);
    EXPECT_TRUE(ok);
}

// A video feed: once the first frames have grown every working buffer, a
// frame that reads nothing allocates nothing, in either chain, and a frame
// the precise chain reads allocates only the result it returns.
TEST(FrameReaderAllocation, NoneForUnreadFramesOnceGrown) {
    test::Pdf417Modules symbol;
    ASSERT_TRUE(test::encodePdf417("Read at thirty degrees, frame after frame", {4, 3, 0}, symbol));
    test::SymbolRenderer::Options options;
    options.moduleWidth = 3.0;
    options.rotationDegrees = 30.0;
    options.noiseSigma = 2.0;
    options.frameWidth = 640;
    options.frameHeight = 400;
    const auto frame = test::SymbolRenderer().render(test::ModuleGrid(symbol), options);
    // The same frame with the symbol's middle wiped: located, but unreadable.
    auto wiped = frame;
    for (int y = 150; y < 250; ++y) {
        std::fill(wiped.pixels.begin() + y * 640 + 200, wiped.pixels.begin() + y * 640 + 440, 230);
    }
    const ImageView good(frame.pixels.data(), frame.pixels.size(), 640, 400);
    const ImageView bad(wiped.pixels.data(), wiped.pixels.size(), 640, 400);
    FrameReader reader;
    ReadResult result;
    for (int warm = 0; warm < 3; ++warm) {
        ASSERT_TRUE(reader.read(good).ok());
        reader.read(bad);
    }
    EXPECT_EQ(allocationsDuring([&] { result = reader.read(bad); }), 0);
    EXPECT_FALSE(result.ok());
    const long reading = allocationsDuring([&] { result = reader.read(good); });
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.chain, ReadChain::Precise);
    EXPECT_LE(reading, 4); // the bytes and the text
}

} // namespace
} // namespace pdf417
