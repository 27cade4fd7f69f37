// Codewords, the vote table and the sampler that fills it.
#include "pdf417scan/sampling/Sampler.h"
#include "pdf417scan/imaging/Image.h"
#include "pdf417scan/locate/Cutter.h"
#include "pdf417scan/locate/Detector.h"
#include "pdf417scan/sampling/MultiTable.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"
#include "tests/support/SymbolCase.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

using Params = Sampler::BarcodeParameters;

CodeWord cw(unsigned short value, int cluster) {
    return CodeWord(value, static_cast<CodeWord::ECluster>(cluster));
}

CodeWord cw0(unsigned short value) {
    return cw(value, 0);
}

std::vector<int> votesOf(const MultiCodeWord<8>& cell) {
    std::vector<int> votes;
    for (const ScoredCodeWord& slot : cell.slots()) {
        votes.push_back(slot.votes);
    }
    return votes;
}

// Values past 928 are invalid, clusters past 2 ignored; a row indicator
// carries 30 per group of three rows, its cluster the row in the group.
TEST(CodeWord, ValuesClustersAndRowNumbers) {
    for (unsigned value = 0; value < 1100; ++value) {
        for (const unsigned cluster : {0u, 1u, 2u, 3u}) {
            CodeWord cw(17, CodeWord::Cluster3);
            cw.set(static_cast<unsigned short>(value), static_cast<CodeWord::ECluster>(cluster));
            const bool valid = value < 929 && cluster < 3;
            ASSERT_EQ(cw.isValid(), value < 929 || cluster == 3);
            ASSERT_EQ(cw == CodeWord(static_cast<unsigned short>(value),
                                     static_cast<CodeWord::ECluster>(cluster)),
                      cluster < 3);
            ASSERT_TRUE(!valid || (cw.code() == value && cw.cluster() == cluster &&
                                   cw.extractRowNumber() == 3 * (value / 30) + cluster));
        }
    }
    EXPECT_TRUE(CodeWord().code() == 999 &&
                CodeWord(5, CodeWord::Cluster0) != CodeWord(5, CodeWord::Cluster3));
    CodeWord cw(17, CodeWord::Cluster6);
    cw.reset();
    EXPECT_EQ(cw, CodeWord());
}

TEST(MultiCodeWord, EvictionTiesAndSaturation) {
    MultiCodeWord<8> cell;
    EXPECT_TRUE(!cell.getBest().codeWord.isValid() && cell.getBest().score == 0.0f);
    cell.add(CodeWord());
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 0));
    // Ties go to the lower slot; a lone vote scores 1 / 2.
    cell.add(cw0(7));
    EXPECT_EQ(cell.getBest().score, 0.5f);
    cell.add(cw0(9));
    EXPECT_EQ(cell.getBest().codeWord, cw0(7));
    cell.add(cw0(9));
    EXPECT_EQ(cell.getBest().codeWord, cw0(9));
    EXPECT_FLOAT_EQ(cell.getBest().score, 2.0f / 4.0f);

    cell.reset();
    const int votes[8] = {3, 2, 5, 2, 4, 2, 6, 3};
    for (unsigned short i = 0; i < 8; ++i) {
        for (int v = 0; v < votes[i]; ++v) {
            cell.add(cw0(static_cast<unsigned short>(100 + i)));
        }
    }
    // A ninth candidate evicts the first slot with the fewest votes, all of
    // them; the next (another cluster: a stranger) evicts it again.
    cell.add(cw0(200));
    EXPECT_EQ(cell.slots()[1].codeWord, cw0(200));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));
    cell.add(CodeWord(106, CodeWord::Cluster3));
    EXPECT_EQ(cell.slots()[1].codeWord, CodeWord(106, CodeWord::Cluster3));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));
    EXPECT_EQ(cell.getBest().codeWord, cw0(106));
    EXPECT_FLOAT_EQ(cell.getBest().score, 6.0f / 27.0f);

    // Counts saturate; with every slot saturated a newcomer is dropped.
    cell.reset();
    for (unsigned short value = 0; value < 8; ++value) {
        for (int i = 0; i < (value == 0 ? 70000 : 65535); ++i) {
            cell.add(cw0(value));
        }
    }
    cell.add(cw0(500));
    EXPECT_EQ(cell.slots()[0].codeWord, cw0(0));
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 65535));
    EXPECT_FLOAT_EQ(cell.getBest().score, 65535.0f / (8 * 65535.0f + 1));
}

TEST(MultiTable, GeometryAddAndClear) {
    auto table = std::make_unique<MultiTable>();
    EXPECT_EQ(table->width() + table->height() + table->ecl(), 0u);
    EXPECT_FALSE(table->add(1, 0, 5) || table->get(0, 0).codeWord.isValid());
    table->clear(40, 100, 12); // held to 30 columns, 90 rows, level 8
    EXPECT_TRUE(table->width() == 30 && table->height() == 90 && table->ecl() == 8);

    table->clear(7, 9, 3); // indicator columns and rows past the last take no votes
    EXPECT_FALSE(table->add(0, 0, 5) || table->add(6, 0, 5) || table->add(3, 9, 5));
    // Columns whose successor wraps to 0 once wrote before the table (a fuzz find).
    const unsigned long last = std::numeric_limits<unsigned long>::max();
    EXPECT_FALSE(table->add(last, 0, 5) || table->add(last - 1, 0, 5) || table->add(1, last, 5));
    for (unsigned long row = 0; row < 9; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            ASSERT_TRUE(table->add(column, row, static_cast<unsigned short>(row * 10 + column)));
        }
    }
    for (unsigned long row = 0; row < 9; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            const CodeWordInfo info = table->get(column, row);
            // Filed under the row's cluster, whatever the recogniser said.
            ASSERT_TRUE(info.codeWord.code() == row * 10 + column &&
                        info.codeWord.cluster() == static_cast<CodeWord::ECluster>(row % 3));
        }
    }
    EXPECT_FALSE(table->get(7, 0).codeWord.isValid());
    EXPECT_EQ(table->get(1, 9).score, 0.0f);
    EXPECT_TRUE(table->add(2, 2, 929)); // accepted, but no vote
    EXPECT_EQ(table->get(2, 2).score, 0.5f);
    table->clear();
    EXPECT_EQ(table->width(), 7u);
    EXPECT_FALSE(table->get(5, 8).codeWord.isValid());
}

TEST(MultiTable, GetDataFollowsTheLengthDescriptor) {
    auto table = std::make_unique<MultiTable>();
    MultiTable::TableData data;
    data.codeWords.resize(3);
    data.ecCount = 7;
    // No geometry, no data columns, too few rows.
    for (const auto& [w, h] : {std::pair{0ul, 0ul}, {2ul, 10ul}, {5ul, 2ul}}) {
        table->clear(w, h, 0);
        EXPECT_FALSE(table->getData(data));
        EXPECT_TRUE(data.codeWords.empty() && data.ecCount == 0);
    }
    // No descriptor: the whole capacity, unread cells invalid with score 0.
    table->clear(5, 4, 1); // 12 cells, 4 of them error correction
    table->add(2, 0, 11);
    table->add(3, 3, 12);
    ASSERT_TRUE(table->getData(data));
    ASSERT_TRUE(data.codeWords.size() == 12u && data.ecCount == 4u);
    EXPECT_TRUE(!data.codeWords[0].codeWord.isValid() && data.codeWords[0].score == 0.0f);
    EXPECT_TRUE(data.codeWords[1].codeWord == cw0(11) && data.codeWords[11].codeWord == cw0(12));
    // Descriptor v: v + 4 entries while they fit; never only the EC.
    for (unsigned short v = 0; v <= 12; ++v) {
        table->clear();
        table->add(1, 0, v);
        EXPECT_EQ(table->getData(data), v >= 1 && v <= 8) << v;
        EXPECT_EQ(data.codeWords.size(), v >= 1 && v <= 8 ? v + 4u : 0u);
    }
}

// The synthesised row indicators match libzint's but for the column term,
// which counts both indicator columns; a table voted full of a symbol's
// codewords hands back exactly its data and error correction codewords.
TEST(MultiTable, AgainstLibzintSymbols) {
    auto table = std::make_unique<MultiTable>();
    int symbols = 0;
    for (const int columns : {1, 2, 5, 13, 27}) {
        for (const int ecl : {0, 3, 8}) {
            for (const int rows : {3, 4, 5, 29, 90}) {
                Pdf417Modules symbol;
                if (!encodePdf417("indicators", {columns, ecl, rows}, symbol)) {
                    continue; // more codewords than the shape holds
                }
                ++symbols;
                ASSERT_EQ(symbol.rows, rows);
                table->clear(static_cast<unsigned long>(columns + 2),
                             static_cast<unsigned long>(rows), static_cast<unsigned char>(ecl));
                const auto values = symbolCodewords(symbol);
                std::vector<int> expected;
                for (int row = 0; row < rows; ++row) {
                    const auto& line = values[static_cast<std::size_t>(row)];
                    const auto r = static_cast<unsigned long>(row);
                    const CodeWordInfo left = table->get(0, r);
                    const CodeWordInfo right =
                        table->get(static_cast<unsigned long>(columns + 1), r);
                    ASSERT_EQ(left.codeWord.code(), line.front() + (row % 3 == 2 ? 2 : 0));
                    ASSERT_EQ(right.codeWord.code(), line.back() + (row % 3 == 0 ? 2 : 0));
                    ASSERT_EQ(left.codeWord.cluster(), static_cast<CodeWord::ECluster>(row % 3));
                    ASSERT_EQ(left.score + right.score, 2.0f);
                    for (std::size_t column = 1; column + 1 < line.size(); ++column) {
                        const auto value = static_cast<unsigned short>(line[column]);
                        expected.push_back(value);
                        // One stray misreading loses to two good ones.
                        table->add(column, r, value);
                        table->add(column, r, static_cast<unsigned short>((value + 1) % 929));
                        table->add(column, r, value);
                    }
                }
                MultiTable::TableData data;
                ASSERT_TRUE(table->getData(data));
                EXPECT_EQ(data.ecCount, 2u << ecl);
                ASSERT_EQ(data.codeWords.size(), expected.size());
                for (std::size_t i = 0; i < expected.size(); ++i) {
                    ASSERT_EQ(data.codeWords[i].codeWord.code(), expected[i]) << i;
                    ASSERT_FLOAT_EQ(data.codeWords[i].score, 0.5f);
                }
            }
        }
    }
    EXPECT_GE(symbols, 30);
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

TEST(SamplerRows, FilterRowDropsLoneClusters) {
    // Clusters in and out (-1: unreadable). Nothing goes at the ends, next to
    // an unreadable codeword or between neighbours that disagree; a removal
    // is seen by the next test; only lines of 2 to 30 are filtered.
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

    // Unreadable indicator: the row is the argument. Cluster 6 where 0 is
    // expected in row 0 would lie above the table: no vote, cluster kept.
    table->clear();
    Sampler::applyRow(0, {CodeWord(), cw(21, 2), cw(22, 0), CodeWord(), cw(23, 1)}, *table);
    // Upwards from row 7 (cluster 3): cluster 0 is row 6.
    Sampler::applyRow(7, {CodeWord(), cw(31, 1), cw(32, 0)}, *table);
    Sampler::applyRow(5, {}, *table); // nothing to do
    EXPECT_EQ((std::vector<int>{at(1, 0), at(2, 0), at(4, 1), at(1, 7), at(2, 6)}),
              (std::vector<int>{-1, 22, 23, 31, 32}));
}

// Row 7 has no left indicator: its scan lines carry the row of the line
// before and every cell reads. The same geometry again adds the same votes
// again; another starts afresh.
TEST(SamplerSample, ReadsEveryCellAndRepeatedSamplingDoublesTheVotes) {
    std::mt19937 rng(4);
    std::string message;
    Pdf417Modules symbol;
    ASSERT_TRUE(encodeMessageSymbol(MessageKind::Text, 16, 5, 3, 0.9, rng, message, symbol));
    const auto truth = symbolCodewords(symbol);
    ASSERT_TRUE(drawCodeword(symbol, 7, 0, -1));
    const auto lay = [](const Pdf417Modules& s, int rows, Image& image, Cutter::Lines& lines,
                        SymbolRenderer::Frame& frame) {
        frame = renderCase(s, {rows, 5, 3.0, 1.0});
        image = frame.image();
        Detector detector;
        Cutter cutter;
        std::array<Point2D, 6> corners;
        return detector.detect(image, corners) && cutter.cut(image, corners, lines);
    };
    SymbolRenderer::Frame frame;
    Image image(nullptr, 0, 0);
    Cutter::Lines lines;
    ASSERT_TRUE(lay(symbol, 16, image, lines, frame));

    Sampler sampler;
    auto once = std::make_unique<MultiTable>();
    auto twice = std::make_unique<MultiTable>();
    ASSERT_TRUE(sampler.sample(image, lines, *once) && sampler.sample(image, lines, *twice) &&
                sampler.sample(image, lines, *twice));
    ASSERT_TRUE(once->width() == 7u && once->height() == 16u && once->ecl() == 3);
    // A cell's score is m / (S + 1) for m votes of the best among S. If the
    // votes double, b = 2m / (2S + 1): m and S solved from a and b are whole.
    for (unsigned long row = 0; row < 16; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            const CodeWordInfo a = once->get(column, row);
            const CodeWordInfo b = twice->get(column, row);
            ASSERT_TRUE(a.codeWord.isValid() && a.codeWord == b.codeWord && b.score > a.score);
            EXPECT_EQ(a.codeWord.code(), truth[row][column]) << row << ", " << column;
            const double all = (2.0 * a.score - b.score) / (2.0 * (b.score - a.score));
            const double best = a.score * (all + 1.0);
            EXPECT_NEAR(all, std::round(all), 1e-3) << row << ", " << column;
            EXPECT_TRUE(std::fabs(best - std::round(best)) < 1e-3 && best >= 0.5 &&
                        best <= all + 1e-3);
        }
    }

    // Another symbol, its first three indicators blank: until one is read
    // the carried row is 0, so the third row's codewords (cluster 6 where 0
    // is expected) would lie above the table and cast no vote.
    Pdf417Modules other;
    ASSERT_TRUE(encodeMessageSymbol(MessageKind::Text, 17, 5, 3, 0.9, rng, message, other));
    const auto otherTruth = symbolCodewords(other);
    for (const int row : {0, 1, 2}) {
        ASSERT_TRUE(drawCodeword(other, row, 0, -1));
    }
    ASSERT_TRUE(lay(other, 17, image, lines, frame));
    ASSERT_TRUE(sampler.sample(image, lines, *twice) && sampler.sample(image, lines, *once));
    EXPECT_EQ(twice->height(), 17u);
    for (unsigned long row = 0; row < 17; ++row) {
        for (unsigned long column = 1; column <= 5; ++column) {
            const CodeWordInfo read = once->get(column, row);
            EXPECT_EQ(twice->get(column, row).score, read.score);
            EXPECT_EQ(read.codeWord.isValid() ? int(read.codeWord.code()) : -1,
                      row == 2 ? -1 : otherTruth[row][column])
                << row << ", " << column;
        }
    }
    sampler.tableHooks.push_back([](Sampler&, MultiTable&) { return false; }); // a veto
    EXPECT_FALSE(sampler.sample(image, lines, *once));
}

// The column and row readers over a blank picture: counts and refusals.
TEST(SamplerLines, CountsAndRefusals) {
    std::vector<unsigned char> paper(120 * 80, 200);
    const Image image(paper.data(), 120, 80);
    Sampler sampler;
    std::vector<CodeWord> out;
    const auto vertical = [](float x, float length) {
        return std::make_pair(Point2D(x, 5, 1), Point2D(x, 5 + length, 1));
    };
    // One scan every two pixels of the longer line, plus one; a non-finite
    // line reads nothing rather than converting it.
    Sampler::ColumnLines two = {vertical(10, 40), vertical(27, 51)};
    EXPECT_TRUE(sampler.sampleColumn(image, two, 0, out) && out.size() == 26u);
    EXPECT_TRUE(std::none_of(out.begin(), out.end(), [](CodeWord w) { return w.isValid(); }));
    EXPECT_FALSE(sampler.sampleColumn(image, two, 1, out) || !out.empty());
    Sampler::ColumnLines broken = {vertical(10, NAN), vertical(27, 40)};
    EXPECT_TRUE(sampler.sampleColumn(image, broken, 0, out) && out.empty());
    // A scan line yields one codeword per column crossed, at most `width`;
    // one parallel to the column lines crosses none.
    Sampler::ColumnLines five = {vertical(10, 40), vertical(27, 40), vertical(44, 40),
                                 vertical(61, 40), vertical(78, 40)};
    const Point2D left(10, 20, 1);
    const Point2D right(78, 22, 1);
    EXPECT_TRUE(sampler.sampleRow(image, five, left, right, 9, out) && out.size() == 4u);
    EXPECT_TRUE(sampler.sampleRow(image, five, left, right, 2, out) && out.size() == 2u);
    EXPECT_FALSE(sampler.sampleRow(image, five, left, right, 0, out) ||
                 sampler.sampleRow(image, five, Point2D(30, 10, 1), Point2D(30, 30, 1), 9, out) ||
                 sampler.sampleRow(image, {five[0]}, left, right, 9, out));
    // The sweep needs four lines; nothing readable leaves the table as it was.
    auto table = std::make_unique<MultiTable>();
    table->clear(4, 3, 0);
    Sampler::ColumnLines three(five.begin(), five.begin() + 3);
    EXPECT_TRUE(!sampler.sampleTableByRows(image, three, *table) &&
                sampler.sampleTableByRows(image, five, *table));
    EXPECT_TRUE(!sampler.sample(image, five, *table) && table->width() == 4u);
}

} // namespace
} // namespace pdf417::test
