#include "pdf417scan/sampling/Sampler.h"

#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using Params = Sampler::BarcodeParameters;

CodeWord cw(unsigned short value, int cluster) {
    return CodeWord(value, static_cast<CodeWord::ECluster>(cluster));
}

// Left row indicators: cluster 0 carries (rows - 1) / 3, cluster 3 carries
// 3 x level + (rows - 1) mod 3 and cluster 6 data columns - 1, each plus 30
// per group of three rows.
TEST(SamplerTableParameters, VoteRules) {
    Params p;
    // Each value once: not enough; twice: enough.
    std::vector<CodeWord> once = {cw(30 + 6, 0), cw(3 * 4 + 2, 1), cw(60 + 9, 2)};
    EXPECT_FALSE(Sampler::decodeTableParameters(once, p));
    std::vector<CodeWord> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    twice.insert(twice.end(), 5, CodeWord()); // unreadable scans do not count
    ASSERT_TRUE(Sampler::decodeTableParameters(twice, p));
    EXPECT_EQ(p.rows, 3 * 6 + 2 + 1);
    EXPECT_EQ(p.columns, 9 + 3);
    EXPECT_EQ(p.ecl, 4);

    // A level seen once is taken as 0; so is one beyond 8 (m of 27 to 29),
    // whose rows remainder still counts.
    std::vector<CodeWord> levels = {cw(6, 0),         cw(6, 0), cw(3 * 2 + 1, 1),
                                    cw(3 * 5 + 1, 1), cw(4, 2), cw(4, 2)};
    ASSERT_TRUE(Sampler::decodeTableParameters(levels, p));
    EXPECT_EQ(p.rows, 3 * 6 + 1 + 1);
    EXPECT_EQ(p.ecl, 0);
    levels = {cw(6, 0), cw(6, 0), cw(28, 1), cw(28, 1), cw(28, 1), cw(4, 2), cw(4, 2)};
    ASSERT_TRUE(Sampler::decodeTableParameters(levels, p));
    EXPECT_EQ(p.rows, 3 * 6 + 1 + 1);
    EXPECT_EQ(p.ecl, 0);

    // Ties go to the lowest value.
    std::vector<CodeWord> ties = {cw(5, 0), cw(5, 0), cw(3, 0),      cw(3, 0),  cw(4, 1),
                                  cw(4, 1), cw(3, 1), cw(3, 1),      cw(11, 2), cw(11, 2),
                                  cw(7, 2), cw(7, 2), cw(90 + 3, 1), cw(120, 1)};
    ASSERT_TRUE(Sampler::decodeTableParameters(ties, p));
    EXPECT_EQ(p.rows, 3 * 3 + 0 + 1);
    EXPECT_EQ(p.columns, 7 + 3);
    EXPECT_EQ(p.ecl, 1);

    // m = 28 for the columns gives 31: refused, with the rows already stored.
    Params partial;
    std::vector<CodeWord> wide = {cw(0, 0), cw(0, 0), cw(2, 1), cw(2, 1), cw(28, 2), cw(28, 2)};
    EXPECT_FALSE(Sampler::decodeTableParameters(wide, partial));
    EXPECT_EQ(partial.rows, 3);
    wide[4] = wide[5] = cw(27, 2);
    ASSERT_TRUE(Sampler::decodeTableParameters(wide, p));
    EXPECT_EQ(p.columns, 30);

    // Fewer than three rows, and the largest table, 90 rows.
    std::vector<CodeWord> small = {cw(0, 0), cw(0, 0), cw(1, 1), cw(1, 1), cw(0, 2), cw(0, 2)};
    EXPECT_FALSE(Sampler::decodeTableParameters(small, p));
    std::vector<CodeWord> tall = {cw(29, 0), cw(29, 0), cw(26, 1), cw(26, 1), cw(0, 2), cw(0, 2)};
    ASSERT_TRUE(Sampler::decodeTableParameters(tall, p));
    EXPECT_EQ(p.rows, 90);
    EXPECT_EQ(p.ecl, 8);
    EXPECT_EQ(p.columns, 3);
    // Rows and columns each need two votes; a column value alone fails.
    EXPECT_FALSE(Sampler::decodeTableParameters({cw(0, 2), cw(0, 2)}, p));
    EXPECT_FALSE(Sampler::decodeTableParameters({}, p));
}

// The left indicator columns of libzint symbols, each row read a few times,
// some scans unreadable or misread, give back the symbol's geometry.
TEST(SamplerTableParameters, LibzintIndicatorColumns) {
    std::mt19937 rng(12);
    for (int trial = 0; trial < 120; ++trial) {
        const int columns = 1 + static_cast<int>(rng() % 28);
        const int rows = 3 + static_cast<int>(rng() % 88);
        int ecl = static_cast<int>(rng() % 9);
        while (ecl > 0 && rows * columns - 1 - (2 << ecl) < 1) {
            --ecl;
        }
        std::string message;
        test::Pdf417Modules symbol;
        if (rows * columns > 928 ||
            !test::encodeMessageSymbol(test::MessageKind::Text, rows, columns, ecl, 0.5, rng,
                                       message, symbol)) {
            continue;
        }
        const auto values = test::symbolCodewords(symbol);
        std::vector<CodeWord> scans;
        for (int row = 0; row < rows; ++row) {
            ASSERT_GE(values[row][0], 0);
            for (int k = 2 + static_cast<int>(rng() % 3); k > 0; --k) {
                scans.push_back(cw(static_cast<unsigned short>(values[row][0]), row % 3));
            }
            if (rng() % 4 == 0) {
                scans.push_back(CodeWord());
            }
            if (row % 10 == 9) { // now and then a misread
                scans.push_back(cw(static_cast<unsigned short>(rng() % 929), row % 3));
            }
        }
        Params p;
        ASSERT_TRUE(Sampler::decodeTableParameters(scans, p)) << rows << "x" << columns;
        EXPECT_EQ(p.rows, rows);
        EXPECT_EQ(p.columns, columns + 2);
        EXPECT_EQ(p.ecl, ecl);
    }
}

std::vector<CodeWord> clusters(const std::vector<int>& of) {
    std::vector<CodeWord> words;
    for (std::size_t i = 0; i < of.size(); ++i) {
        words.push_back(of[i] < 0 ? CodeWord() : cw(static_cast<unsigned short>(100 + i), of[i]));
    }
    return words;
}

TEST(SamplerRows, FilterRowDropsLoneClusters) {
    const auto filtered = [](std::vector<int> of) {
        auto words = clusters(of);
        Sampler::filterRow(words);
        std::vector<int> left;
        for (const CodeWord& w : words) {
            left.push_back(w.isValid() ? static_cast<int>(w.cluster()) : -1);
        }
        return left;
    };
    EXPECT_EQ(filtered({0, 1, 0}), (std::vector<int>{0, -1, 0}));
    // Nothing goes at the ends, nor next to an unreadable codeword, nor
    // between neighbours that disagree.
    EXPECT_EQ(filtered({1, 0, 0, 2}), (std::vector<int>{1, 0, 0, 2}));
    EXPECT_EQ(filtered({0, -1, 1, 0}), (std::vector<int>{0, -1, 1, 0}));
    EXPECT_EQ(filtered({0, 1, 2}), (std::vector<int>{0, 1, 2}));
    // Left to right, a removal is seen by the next test: the second 1 stays.
    EXPECT_EQ(filtered({0, 1, 0, 1}), (std::vector<int>{0, -1, 0, 1}));
    // Only lines of 2 to 30 codewords are filtered.
    std::vector<int> long31(31, 0);
    long31[5] = 2;
    EXPECT_EQ(filtered(long31), long31);
    std::vector<int> long30(30, 0);
    long30[5] = 2;
    std::vector<int> expected30 = long30;
    expected30[5] = -1;
    EXPECT_EQ(filtered(long30), expected30);
}

TEST(SamplerRows, ApplyRowFollowsClusterChanges) {
    auto table = std::make_unique<MultiTable>();
    table->clear(7, 12, 0);
    const auto at = [&](unsigned long column, unsigned long row) {
        const CodeWord best = table->get(column, row).codeWord;
        return best.isValid() ? static_cast<int>(best.code()) : -1;
    };
    // Indicator of row 3 (cluster 0), then clusters 0, 0, 1, 1, 2: down a row
    // at the third codeword, another at the fifth.
    std::vector<CodeWord> line = {cw(30 + 1, 0), cw(11, 0), cw(12, 0),
                                  cw(13, 1),     cw(14, 1), cw(15, 2)};
    Sampler::applyRow(0, line, *table);
    EXPECT_EQ(at(1, 3), 11);
    EXPECT_EQ(at(2, 3), 12);
    EXPECT_EQ(at(3, 4), 13);
    EXPECT_EQ(at(4, 4), 14);
    EXPECT_EQ(at(5, 5), 15);
    EXPECT_EQ(at(3, 3), -1);
    // The vote is filed under its row's cluster, whatever the codeword said.
    EXPECT_EQ(table->get(3, 4).codeWord.cluster(), CodeWord::Cluster3);

    // Unreadable indicator: the row comes from the argument. With row 0, a
    // codeword of cluster 6 while 0 is expected would lie above the table:
    // no vote, and the expected cluster stays 0.
    table->clear();
    Sampler::applyRow(0, {CodeWord(), cw(21, 2), cw(22, 0), CodeWord(), cw(23, 1)}, *table);
    EXPECT_EQ(at(1, 0), -1);
    EXPECT_EQ(at(2, 0), 22);
    EXPECT_EQ(at(4, 1), 23);
    // Upwards from row 7 (cluster 3): cluster 0 is row 6.
    Sampler::applyRow(7, {CodeWord(), cw(31, 1), cw(32, 0)}, *table);
    EXPECT_EQ(at(1, 7), 31);
    EXPECT_EQ(at(2, 6), 32);
    Sampler::applyRow(5, {}, *table); // nothing to do
}

// On a rendered symbol, sampling again with the same geometry adds the same
// votes again instead of starting afresh; another geometry starts afresh.
TEST(SamplerSample, RepeatedSamplingDoublesTheVotes) {
    std::mt19937 rng(4);
    std::string message;
    test::Pdf417Modules symbol;
    ASSERT_TRUE(
        test::encodeMessageSymbol(test::MessageKind::Text, 16, 5, 3, 0.9, rng, message, symbol));
    test::SymbolCase placement;
    placement.rows = 16;
    placement.columns = 5;
    placement.module = 3.0;
    placement.rotation = 1.0;
    auto frame = test::renderCase(symbol, placement);
    const Image image = frame.image();
    Detector detector;
    Cutter cutter;
    std::array<Point2D, 6> corners;
    Cutter::Lines lines;
    ASSERT_TRUE(detector.detect(image, corners));
    ASSERT_TRUE(cutter.cut(image, corners, lines));

    Sampler sampler;
    auto once = std::make_unique<MultiTable>();
    auto twice = std::make_unique<MultiTable>();
    auto thrice = std::make_unique<MultiTable>();
    for (int k = 0; k < 3; ++k) {
        ASSERT_TRUE(sampler.sample(image, lines, *thrice));
        if (k < 2) {
            ASSERT_TRUE(sampler.sample(image, lines, *twice));
        }
        if (k < 1) {
            ASSERT_TRUE(sampler.sample(image, lines, *once));
        }
    }
    ASSERT_EQ(once->width(), 7u);
    ASSERT_EQ(once->height(), 16u);
    ASSERT_EQ(once->ecl(), 3);

    // A cell's score is m / (S + 1) for m votes of the best among S. If the
    // votes double and triple, the scores a, b and c of one, two and three
    // sweeps satisfy b = 2m / (2S + 1) and c = 3m / (3S + 1): solve the first
    // two for whole m and S, then the third must follow.
    const auto truth = test::symbolCodewords(symbol);
    for (unsigned long row = 0; row < 16; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            SCOPED_TRACE(::testing::Message() << row << ", " << column);
            const CodeWordInfo a = once->get(column, row);
            const CodeWordInfo b = twice->get(column, row);
            const CodeWordInfo c = thrice->get(column, row);
            ASSERT_TRUE(a.codeWord.isValid());
            EXPECT_EQ(a.codeWord.code(), truth[row][column]);
            EXPECT_EQ(a.codeWord, b.codeWord);
            EXPECT_EQ(a.codeWord, c.codeWord);
            ASSERT_GT(b.score, a.score);
            const double all = (2.0 * a.score - b.score) / (2.0 * (b.score - a.score));
            const double best = a.score * (all + 1.0);
            EXPECT_NEAR(all, std::round(all), 1e-3);
            EXPECT_NEAR(best, std::round(best), 1e-3);
            EXPECT_GE(best, 0.5);
            EXPECT_LE(best, all + 1e-3);
            EXPECT_NEAR(c.score, 3.0 * best / (3.0 * all + 1.0), 1e-5);
        }
    }

    // Another symbol's geometry clears the table first.
    test::Pdf417Modules other;
    ASSERT_TRUE(
        test::encodeMessageSymbol(test::MessageKind::Text, 17, 5, 3, 0.9, rng, message, other));
    placement.rows = 17;
    auto otherFrame = test::renderCase(other, placement);
    const Image otherImage = otherFrame.image();
    ASSERT_TRUE(detector.detect(otherImage, corners));
    ASSERT_TRUE(cutter.cut(otherImage, corners, lines));
    ASSERT_TRUE(sampler.sample(otherImage, lines, *twice));
    ASSERT_TRUE(sampler.sample(otherImage, lines, *once));
    EXPECT_EQ(twice->height(), 17u);
    for (unsigned long row = 0; row < 17; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            EXPECT_EQ(twice->get(column, row).score, once->get(column, row).score);
        }
    }
}

// The column and row readers on synthetic lines over a blank picture: how
// many codewords they append, and when they refuse.
TEST(SamplerLines, CountsAndRefusals) {
    std::vector<unsigned char> paper(120 * 80, 200);
    const Image image(paper.data(), 120, 80);
    Sampler sampler;
    std::vector<CodeWord> out;
    const auto vertical = [](float x, float length) {
        return std::make_pair(Point2D(x, 5, 1), Point2D(x, 5 + length, 1));
    };

    // One scan every two pixels of the longer line, plus one.
    Sampler::ColumnLines two = {vertical(10, 40), vertical(27, 51)};
    ASSERT_TRUE(sampler.sampleColumn(image, two, 0, out));
    EXPECT_EQ(out.size(), 26u);
    for (const CodeWord& w : out) {
        EXPECT_FALSE(w.isValid());
    }
    EXPECT_FALSE(sampler.sampleColumn(image, two, 1, out));
    EXPECT_TRUE(out.empty());
    // A degenerate (non-finite) line reads nothing rather than converting it.
    Sampler::ColumnLines broken = {vertical(10, NAN), vertical(27, 40)};
    EXPECT_TRUE(sampler.sampleColumn(image, broken, 0, out));
    EXPECT_TRUE(out.empty());

    // A scan line yields one codeword per column crossed, at most `width`.
    Sampler::ColumnLines five = {vertical(10, 40), vertical(27, 40), vertical(44, 40),
                                 vertical(61, 40), vertical(78, 40)};
    const Point2D left(10, 20, 1);
    const Point2D right(78, 22, 1);
    ASSERT_TRUE(sampler.sampleRow(image, five, left, right, 9, out));
    EXPECT_EQ(out.size(), 4u);
    ASSERT_TRUE(sampler.sampleRow(image, five, left, right, 2, out));
    EXPECT_EQ(out.size(), 2u);
    EXPECT_FALSE(sampler.sampleRow(image, five, left, right, 0, out));
    // A scan line parallel to the column lines crosses none of them.
    EXPECT_FALSE(sampler.sampleRow(image, five, Point2D(30, 10, 1), Point2D(30, 30, 1), 9, out));
    EXPECT_FALSE(sampler.sampleRow(image, {five[0]}, left, right, 9, out));

    auto table = std::make_unique<MultiTable>();
    table->clear(4, 3, 0);
    Sampler::ColumnLines three(five.begin(), five.begin() + 3);
    EXPECT_FALSE(sampler.sampleTableByRows(image, three, *table));
    EXPECT_TRUE(sampler.sampleTableByRows(image, five, *table));
    // Nothing readable: the geometry vote fails and the table stays.
    EXPECT_FALSE(sampler.sample(image, five, *table));
    EXPECT_EQ(table->width(), 4u);
}

} // namespace
} // namespace pdf417
