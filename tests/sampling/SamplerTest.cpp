#include "pdf417scan/sampling/Sampler.h"

#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <algorithm>
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
// per group of three rows. Each of the three values needs two readings.
TEST(SamplerTableParameters, VoteRules) {
    const std::vector<CodeWord> once = {cw(30 + 6, 0), cw(3 * 4 + 2, 1), cw(60 + 9, 2)};
    std::vector<CodeWord> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    twice.insert(twice.end(), 5, CodeWord()); // unreadable scans do not count
    // On success the parameters read, and on the refusal of 31 columns the
    // rows already stored; -1 where nothing is promised.
    const auto check = [](const char* what, const std::vector<CodeWord>& scans, bool ok, int rows,
                          int columns, int ecl) {
        Params p;
        EXPECT_EQ(Sampler::decodeTableParameters(scans, p), ok) << what;
        for (const auto& [got, want] :
             {std::pair{int(p.rows), rows}, {int(p.columns), columns}, {int(p.ecl), ecl}}) {
            EXPECT_TRUE(want < 0 || got == want) << what << ": " << got << " for " << want;
        }
    };
    check("each value once is not enough", once, false, -1, -1, -1);
    check("twice is", twice, true, 3 * 6 + 2 + 1, 9 + 3, 4);
    check("rows / 3 once", {cw(6, 0), cw(7, 1), cw(7, 1), cw(4, 2), cw(4, 2)}, false, -1, -1, -1);
    check("rows mod 3 once", {cw(6, 0), cw(6, 0), cw(7, 1), cw(4, 2), cw(4, 2)}, false, -1, -1, -1);
    check("columns once", {cw(6, 0), cw(6, 0), cw(7, 1), cw(7, 1), cw(4, 2)}, false, 20, -1, -1);
    check("a level seen once is taken as 0",
          {cw(6, 0), cw(6, 0), cw(3 * 2 + 1, 1), cw(3 * 5 + 1, 1), cw(4, 2), cw(4, 2)}, true,
          3 * 6 + 1 + 1, 4 + 3, 0);
    check("so is one beyond 8, whose rows remainder still counts",
          {cw(6, 0), cw(6, 0), cw(28, 1), cw(28, 1), cw(28, 1), cw(4, 2), cw(4, 2)}, true,
          3 * 6 + 1 + 1, 4 + 3, 0);
    check("ties go to the lowest value",
          {cw(5, 0), cw(5, 0), cw(3, 0), cw(3, 0), cw(4, 1), cw(4, 1), cw(3, 1), cw(3, 1),
           cw(11, 2), cw(11, 2), cw(7, 2), cw(7, 2), cw(90 + 3, 1), cw(120, 1)},
          true, 3 * 3 + 0 + 1, 7 + 3, 1);
    check("31 columns are refused", {cw(0, 0), cw(0, 0), cw(2, 1), cw(2, 1), cw(28, 2), cw(28, 2)},
          false, 3, -1, -1);
    check("30 are not", {cw(0, 0), cw(0, 0), cw(2, 1), cw(2, 1), cw(27, 2), cw(27, 2)}, true, 3, 30,
          0);
    check("fewer than three rows", {cw(0, 0), cw(0, 0), cw(1, 1), cw(1, 1), cw(0, 2), cw(0, 2)},
          false, -1, -1, -1);
    check("the largest table", {cw(29, 0), cw(29, 0), cw(26, 1), cw(26, 1), cw(0, 2), cw(0, 2)},
          true, 90, 3, 8);
    check("nothing", {}, false, -1, -1, -1);
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
        EXPECT_TRUE(p.rows == rows && p.columns == columns + 2 && p.ecl == ecl)
            << rows << "x" << columns << " level " << ecl;
    }
}

TEST(SamplerRows, FilterRowDropsLoneClusters) {
    // Codewords of the given clusters (-1: unreadable), and what is left.
    // Nothing goes at the ends, nor next to an unreadable codeword, nor
    // between neighbours that disagree; left to right, a removal is seen by
    // the next test; only lines of 2 to 30 codewords are filtered.
    std::vector<int> thirty(30, 0), thirtyOne(31, 0);
    thirty[5] = thirtyOne[5] = 2;
    std::vector<int> filteredThirty = thirty;
    filteredThirty[5] = -1;
    const std::pair<std::vector<int>, std::vector<int>> cases[] = {
        {{0, 1, 0}, {0, -1, 0}}, {{1, 0, 0, 2}, {1, 0, 0, 2}},  {{0, -1, 1, 0}, {0, -1, 1, 0}},
        {{0, 1, 2}, {0, 1, 2}},  {{0, 1, 0, 1}, {0, -1, 0, 1}}, {thirty, filteredThirty},
        {thirtyOne, thirtyOne}};
    for (const auto& [in, out] : cases) {
        std::vector<CodeWord> words;
        for (std::size_t i = 0; i < in.size(); ++i) {
            words.push_back(in[i] < 0 ? CodeWord()
                                      : cw(static_cast<unsigned short>(100 + i), in[i]));
        }
        Sampler::filterRow(words);
        std::vector<int> left;
        for (const CodeWord& w : words) {
            left.push_back(w.isValid() ? static_cast<int>(w.cluster()) : -1);
        }
        EXPECT_EQ(left, out) << in.size();
    }
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
    Sampler::applyRow(0, {cw(30 + 1, 0), cw(11, 0), cw(12, 0), cw(13, 1), cw(14, 1), cw(15, 2)},
                      *table);
    EXPECT_EQ((std::vector<int>{at(1, 3), at(2, 3), at(3, 4), at(4, 4), at(5, 5), at(3, 3)}),
              (std::vector<int>{11, 12, 13, 14, 15, -1}));
    // The vote is filed under its row's cluster, whatever the codeword said.
    EXPECT_EQ(table->get(3, 4).codeWord.cluster(), CodeWord::Cluster3);

    // Unreadable indicator: the row comes from the argument. With row 0, a
    // codeword of cluster 6 while 0 is expected would lie above the table:
    // no vote, and the expected cluster stays 0.
    table->clear();
    Sampler::applyRow(0, {CodeWord(), cw(21, 2), cw(22, 0), CodeWord(), cw(23, 1)}, *table);
    // Upwards from row 7 (cluster 3): cluster 0 is row 6.
    Sampler::applyRow(7, {CodeWord(), cw(31, 1), cw(32, 0)}, *table);
    Sampler::applyRow(5, {}, *table); // nothing to do
    EXPECT_EQ((std::vector<int>{at(1, 0), at(2, 0), at(4, 1), at(1, 7), at(2, 6)}),
              (std::vector<int>{-1, 22, 23, 31, 32}));
}

// On a rendered symbol whose row 7 has no left indicator (its scan lines
// carry the row of the line before them), every cell reads its codeword;
// sampling again with the same geometry adds the same votes again instead of
// starting afresh; another geometry starts afresh.
TEST(SamplerSample, ReadsEveryCellAndRepeatedSamplingDoublesTheVotes) {
    std::mt19937 rng(4);
    std::string message;
    test::Pdf417Modules symbol;
    ASSERT_TRUE(
        test::encodeMessageSymbol(test::MessageKind::Text, 16, 5, 3, 0.9, rng, message, symbol));
    const auto truth = test::symbolCodewords(symbol);
    ASSERT_TRUE(test::drawCodeword(symbol, 7, 0, -1));
    const auto lay = [](const test::Pdf417Modules& s, int rows, Image& image, Cutter::Lines& lines,
                        test::SymbolRenderer::Frame& frame) {
        frame = test::renderCase(s, {rows, 5, 3.0, 1.0});
        image = frame.image();
        Detector detector;
        Cutter cutter;
        std::array<Point2D, 6> corners;
        return detector.detect(image, corners) && cutter.cut(image, corners, lines);
    };
    test::SymbolRenderer::Frame frame;
    Image image(nullptr, 0, 0);
    Cutter::Lines lines;
    ASSERT_TRUE(lay(symbol, 16, image, lines, frame));

    Sampler sampler;
    auto once = std::make_unique<MultiTable>();
    auto twice = std::make_unique<MultiTable>();
    auto thrice = std::make_unique<MultiTable>();
    for (int k = 0; k < 3; ++k) {
        ASSERT_TRUE(sampler.sample(image, lines, *thrice));
        ASSERT_TRUE(k >= 2 || sampler.sample(image, lines, *twice));
        ASSERT_TRUE(k >= 1 || sampler.sample(image, lines, *once));
    }
    ASSERT_TRUE(once->width() == 7u && once->height() == 16u && once->ecl() == 3);

    // A cell's score is m / (S + 1) for m votes of the best among S. If the
    // votes double and triple, the scores a, b and c of one, two and three
    // sweeps satisfy b = 2m / (2S + 1) and c = 3m / (3S + 1): solve the first
    // two for whole m and S, then the third must follow.
    for (unsigned long row = 0; row < 16; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            SCOPED_TRACE(::testing::Message() << row << ", " << column);
            const CodeWordInfo a = once->get(column, row);
            const CodeWordInfo b = twice->get(column, row);
            const CodeWordInfo c = thrice->get(column, row);
            ASSERT_TRUE(a.codeWord.isValid());
            EXPECT_EQ(a.codeWord.code(), truth[row][column]);
            EXPECT_TRUE(a.codeWord == b.codeWord && a.codeWord == c.codeWord);
            ASSERT_GT(b.score, a.score);
            const double all = (2.0 * a.score - b.score) / (2.0 * (b.score - a.score));
            const double best = a.score * (all + 1.0);
            EXPECT_NEAR(all, std::round(all), 1e-3);
            EXPECT_NEAR(best, std::round(best), 1e-3);
            EXPECT_TRUE(best >= 0.5 && best <= all + 1e-3);
            EXPECT_NEAR(c.score, 3.0 * best / (3.0 * all + 1.0), 1e-5);
        }
    }

    // Another symbol's geometry clears the table first.
    test::Pdf417Modules other;
    ASSERT_TRUE(
        test::encodeMessageSymbol(test::MessageKind::Text, 17, 5, 3, 0.9, rng, message, other));
    ASSERT_TRUE(lay(other, 17, image, lines, frame));
    ASSERT_TRUE(sampler.sample(image, lines, *twice));
    ASSERT_TRUE(sampler.sample(image, lines, *once));
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
    EXPECT_TRUE(std::none_of(out.begin(), out.end(), [](CodeWord w) { return w.isValid(); }));
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
