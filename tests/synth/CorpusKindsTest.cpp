#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/api/Read.h"
#include "tests/support/ExpectedRead.h"
#include "tests/support/ZintPdf417.h"
#include "tools/synth/CodewordFootprint.h"
#include "tools/synth/CrispGenerator.h"
#include "tools/synth/DamageGenerator.h"
#include "tools/synth/EdgeGenerator.h"
#include "tools/synth/EmptyGenerator.h"
#include "tools/synth/StandardGenerator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

namespace pdf417::synth {
namespace {

// Frames 0 to count - 1 of a generator, each handed to check.
template <typename Generator, typename Check>
void eachFrame(Generator generator, std::uint64_t count, Check check) {
    for (std::uint64_t i = 0; i < count; ++i) {
        CorpusFrame frame;
        std::string error;
        ASSERT_TRUE(generator.make(i, frame, error)) << error;
        SCOPED_TRACE("frame " + std::to_string(i) + ": " +
                     test::CorpusIndex::formatRow(frame.entry));
        check(frame, frame.entry);
    }
}

// Codeword (r, j) covers u in [34 + 17 j, 51 + 17 j), v in [r h, (r + 1) h).
TEST(CodewordFootprint, CountsTheCodewordsAShapeOrTheBorderReaches) {
    const CodewordFootprint footprint(5, 8, 4.0);
    EXPECT_EQ(footprint.count([](double, double) { return false; }), 0);
    EXPECT_EQ(footprint.count([](double, double) { return true; }), 40);
    // A thin line inside row 2, across the whole width: that row's five.
    EXPECT_EQ(footprint.count([](double, double v) { return std::fabs(v - 9.5) < 0.15; }), 5);
    // A thin line inside data column 3, top to bottom: eight.
    EXPECT_EQ(footprint.count([](double u, double) { return std::fabs(u - 94.0) < 0.15; }), 8);
    // Start pattern and left row indicator hold no codeword error correction sees.
    EXPECT_EQ(footprint.count([](double u, double) { return u < 33.0; }), 0);
    EXPECT_EQ(CodewordFootprint::checkCodewords(0), 2);
    EXPECT_EQ(CodewordFootprint::checkCodewords(5), 64);

    // Two pixels per module; the top 3 rows (24 pixels) lifted out of the frame.
    const double w = 5 * 17 + 69;
    const auto placed = [&](double x, double y) {
        return test::Homography::rectToQuad(w, 32.0,
                                            {test::Vec2{x, y}, test::Vec2{x + 2 * w, y},
                                             test::Vec2{x + 2 * w, y + 64}, test::Vec2{x, y + 64}});
    };
    EXPECT_EQ(footprint.outside(placed(10, 10), 400, 100), 0);
    EXPECT_EQ(footprint.outside(placed(10, -24), 400, 100), 15);
    // Past the left border by the start pattern, indicator and one column.
    EXPECT_EQ(footprint.outside(placed(-2 * 51, 10), 400, 100), 8);
}

// Ink reaches the border at the recorded side whenever the symbol is cut,
// and the codewords cut stay within the check codewords.
TEST(EdgeGenerator, CutsWithinTheCheckCodewordsAtTheRecordedSide) {
    int cutIntoSymbol = 0;
    eachFrame(EdgeGenerator(3), 3, [&](const CorpusFrame& frame, const test::CorpusEntry& e) {
        EXPECT_EQ(e.checkCodewords, CodewordFootprint::checkCodewords(e.level));
        EXPECT_LE(e.hitCodewords, e.checkCodewords);
        EXPECT_FALSE(e.fits);
        ASSERT_TRUE(std::set<std::string>({"top", "bottom", "left", "right"}).count(e.cutSide));
        if (e.cutModules <= 0.0) {
            EXPECT_EQ(e.hitCodewords, 0);
            return;
        }
        ++cutIntoSymbol;
        const bool row = e.cutSide == "top" || e.cutSide == "bottom";
        const int fixed =
            e.cutSide == "top" || e.cutSide == "left" ? 0 : (row ? e.height - 1 : e.width - 1);
        int darkest = 255;
        for (int k = 0; k < (row ? e.width : e.height); ++k) {
            const std::size_t at =
                row ? std::size_t(fixed) * e.width + k : std::size_t(k) * e.width + fixed;
            darkest = std::min<int>(darkest, frame.pixels[at]);
        }
        EXPECT_LT(darkest, (e.ink + e.paper) / 2.0);
    });
    // Both kinds met: a seed whose three frames cut two symbols.
    EXPECT_EQ(cutIntoSymbol, 2);
}

// Twice the codewords a harm reaches stay within the check codewords; spread
// and shrink reach none and stay within half a module.
TEST(DamageGenerator, KeepsEveryHarmWithinTheCheckCodewords) {
    std::set<std::string> kinds;
    // A seed whose first five frames show every harm.
    eachFrame(DamageGenerator(37), 5, [&](const CorpusFrame&, const test::CorpusEntry& e) {
        kinds.insert(e.damage);
        EXPECT_EQ(e.checkCodewords, CodewordFootprint::checkCodewords(e.level));
        EXPECT_LE(2 * e.hitCodewords, e.checkCodewords);
        EXPECT_TRUE(e.fits);
        if (e.damage == "spread" || e.damage == "shrink") {
            EXPECT_EQ(e.hitCodewords, 0);
            EXPECT_TRUE(e.damageAmount >= 0.1 && e.damageAmount <= 0.5) << e.damageAmount;
        } else {
            EXPECT_GT(e.damageAmount, 0.0);
        }
    });
    EXPECT_EQ(kinds, (std::set<std::string>{"spread", "shrink", "marker", "stripes", "blob"}));
}

// Pixel-aligned frames hold only ink, paper and surround, the others are
// resampled; modules of 1 to 3 pixels; frames grow only for a big symbol.
TEST(CrispGenerator, AlignedFramesHoldOnlyInkPaperAndSurround) {
    int aligned = 0;
    eachFrame(CrispGenerator(7), 3, [&](const CorpusFrame& frame, const test::CorpusEntry& e) {
        EXPECT_TRUE(e.modulePx >= 1.0 && e.modulePx <= 3.0);
        EXPECT_TRUE(e.rows >= 3 && e.rows <= 90 && e.columns >= 1 && e.columns <= 30);
        EXPECT_TRUE(e.width >= 1280 && e.height >= 720);
        const bool grown = e.width > 1280 || e.height > 720;
        EXPECT_EQ(grown, (e.columns * 17 + 69 + 2 * e.quietZone) * e.modulePx > 1264 ||
                             (e.rows * e.rowHeight + 2 * e.quietZone) * e.modulePx > 704);
        const std::set<std::uint8_t> levels(frame.pixels.begin(), frame.pixels.end());
        aligned += e.pixelAligned ? 1 : 0;
        EXPECT_EQ(e.pixelAligned, levels.size() <= 3u) << levels.size();
        if (e.pixelAligned) {
            EXPECT_EQ(e.modulePx, std::round(e.modulePx));
        }
    });
    // A seed whose three frames hold both kinds, one of them grown.
    EXPECT_EQ(aligned, 2);
}

// The sidecar survives its file and libzint draws the same layout from it;
// ECI text comes back as given, the others' text is their Latin-1 bytes.
TEST(StandardGenerator, ExpectationsMatchTheSymbolDrawn) {
    std::set<std::string> kinds;
    const std::string path = ::testing::TempDir() + "/standard_expected.json";
    // A seed whose first three frames show every kind.
    eachFrame(StandardGenerator(1), 3, [&](const CorpusFrame& frame, const test::CorpusEntry& e) {
        ASSERT_TRUE(frame.expected.has_value());
        ASSERT_TRUE(frame.expected->write(path));
        test::ExpectedRead back;
        std::string error;
        ASSERT_TRUE(test::ExpectedRead::read(path, back, error)) << error;
        kinds.insert(e.content.rfind("eci-", 0) == 0 ? "eci" : e.content);
        EXPECT_EQ(back.eci, e.eci);
        EXPECT_EQ(back.isMacro(), e.macro);
        ASSERT_TRUE(back.text.has_value());
        EXPECT_EQ(*back.text,
                  back.unicode ? back.input : StandardGenerator::latin1ToUtf8(frame.message));
        test::ZintOptions raw = back.zint(e.columns, e.level);
        raw.utf8 = false;
        test::Pdf417Modules symbol;
        ASSERT_TRUE(test::encodePdf417(frame.message, raw, symbol, &error)) << error;
        EXPECT_EQ(symbol.rows, e.rows);
        EXPECT_EQ(symbol.dataColumns, e.columns);
    });
    EXPECT_EQ(kinds, (std::set<std::string>{"eci", "macro", "byte-shift"}));
    std::remove(path.c_str());
}

// Pages with printed text, linear barcodes, textures and stripes, but no
// PDF417: neither entry reads anything in them.
TEST(EmptyGenerator, ShowsNoSymbolThatReads) {
    EmptyGenerator generator(6);
    for (std::uint64_t i = 0; i < 2; ++i) {
        CorpusFrame frame;
        generator.make(i, frame);
        const test::CorpusEntry& e = frame.entry;
        EXPECT_TRUE(!e.hasSymbol() && frame.message.empty() && !frame.expected.has_value());
        ASSERT_EQ(frame.pixels.size(), std::size_t{1280} * 720);
        EXPECT_FALSE(read(ImageView(frame.pixels.data(), frame.pixels.size(), 1280, 720)).ok());
        EXPECT_EQ(Barcode2DScanner().scanGrayscaleImage(
                      reinterpret_cast<const char*>(frame.pixels.data()), 1280, 720),
                  "")
            << e.content;
    }
}

} // namespace
} // namespace pdf417::synth
