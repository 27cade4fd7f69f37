#include "tools/synth/CorpusGenerator.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

namespace pdf417::synth {
namespace {

// Small frames keep the test quick; every range holds at any frame size.
constexpr int WIDTH = 400;
constexpr int HEIGHT = 250;

TEST(CorpusGenerator, FramesAreReproducibleAndIndependent) {
    CorpusGenerator a(3), b(3);
    CorpusFrame first, other, again;
    std::string error;
    // Frame 2 made before or after frame 1, by another object: the same frame.
    ASSERT_TRUE(a.make(1, WIDTH, HEIGHT, first, error)) << error;
    ASSERT_TRUE(a.make(2, WIDTH, HEIGHT, other, error)) << error;
    ASSERT_TRUE(b.make(2, WIDTH, HEIGHT, again, error)) << error;
    EXPECT_EQ(other.pixels, again.pixels);
    EXPECT_EQ(other.message, again.message);
    EXPECT_EQ(test::CorpusIndex::formatRow(other.entry), test::CorpusIndex::formatRow(again.entry));
    EXPECT_NE(first.pixels, other.pixels);
    // Another seed, another corpus.
    CorpusGenerator c(4);
    ASSERT_TRUE(c.make(2, WIDTH, HEIGHT, again, error)) << error;
    EXPECT_NE(other.pixels, again.pixels);
}

TEST(CorpusGenerator, FactorsStayInTheirRangesAndMatchTheSymbol) {
    CorpusGenerator generator(11);
    const std::set<std::string> kinds{"short-text", "long-text", "digits", "bytes", "licence"};
    const std::set<std::string> decoys{"texture", "stripes", "text"};
    int symbols = 0, keystoned = 0, offRightAngles = 0, mirrored = 0;
    for (std::uint64_t i = 0; i < 22; ++i) {
        CorpusFrame frame;
        std::string error;
        ASSERT_TRUE(generator.make(i, WIDTH, HEIGHT, frame, error)) << error;
        const test::CorpusEntry& e = frame.entry;
        SCOPED_TRACE("frame " + std::to_string(i) + ": " + test::CorpusIndex::formatRow(e));
        ASSERT_EQ(frame.pixels.size(), static_cast<std::size_t>(WIDTH) * HEIGHT);
        EXPECT_EQ(e.width, WIDTH);
        EXPECT_EQ(e.height, HEIGHT);
        EXPECT_TRUE(e.fits);
        EXPECT_TRUE(e.blurModules >= 0.0 && e.blurModules <= 0.5);
        EXPECT_NEAR(e.blurPx, e.blurModules * e.modulePx, 1e-9);
        EXPECT_TRUE(e.noise >= 0.0 && e.noise <= 12.0);
        EXPECT_TRUE(e.ink >= 5.0 && e.ink <= 100.0 && e.paper >= 150.0 && e.paper <= 250.0);
        EXPECT_TRUE(e.jpegQuality == 0 || e.jpegQuality == 70 || e.jpegQuality == 90);
        for (double g : {e.gradientX, e.gradientY}) {
            EXPECT_LE(std::fabs(g), 0.25);
        }
        EXPECT_TRUE(e.vignette >= 0.0 && e.vignette <= 0.35);
        if (CorpusGenerator::holdsNoSymbol(i)) {
            EXPECT_TRUE(frame.message.empty());
            EXPECT_TRUE(decoys.count(e.content)) << e.content;
            continue;
        }
        ++symbols;
        EXPECT_TRUE(kinds.count(e.content)) << e.content;
        EXPECT_EQ(e.messageLength, static_cast<int>(frame.message.size()));
        EXPECT_TRUE(e.columns >= 1 && e.columns <= 20);
        EXPECT_TRUE(e.level >= 2 && e.level <= 5);
        EXPECT_TRUE(e.rows >= 3 && e.rows <= 90);
        EXPECT_TRUE(e.modulePx > 0.5 && e.modulePx <= 8.0);
        EXPECT_TRUE(e.rowHeight >= 3.0 && e.rowHeight <= 5.0);
        EXPECT_LE(std::fabs(e.rotation), 45.0);
        // A side shortened to half, then corners pushed by up to 8 % each way.
        EXPECT_TRUE(e.sideRatio >= 1.0 && e.sideRatio <= 1.16 / 0.34) << e.sideRatio;
        keystoned += e.sideRatio > 1.3 ? 1 : 0;
        offRightAngles += std::fabs(e.rotation) > 10.0 ? 1 : 0;
        mirrored += e.mirrored ? 1 : 0;
        EXPECT_TRUE(e.turn == 0 || e.turn == 90 || e.turn == 180 || e.turn == 270);
        EXPECT_TRUE(e.perspective >= 0.0 && e.perspective <= 0.08);
        // The recorded layout is the symbol's: libzint draws it again alike.
        test::Pdf417Modules symbol;
        ASSERT_TRUE(test::encodePdf417(frame.message, {e.columns, e.level, 0}, symbol));
        EXPECT_EQ(symbol.rows, e.rows);
        EXPECT_EQ(symbol.dataColumns, e.columns);
    }
    EXPECT_EQ(symbols, 21);
    // Some frames of each: strong perspective, any angle, seen from behind.
    EXPECT_GT(keystoned, 2);
    EXPECT_GT(offRightAngles, 5);
    EXPECT_GT(mirrored, 0);
}

} // namespace
} // namespace pdf417::synth
