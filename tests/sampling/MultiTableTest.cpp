#include "pdf417scan/sampling/MultiTable.h"

#include "tests/support/Pdf417Codewords.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace pdf417 {
namespace {

CodeWord cw0(unsigned short value) {
    return CodeWord(value, CodeWord::Cluster0);
}

std::vector<int> votesOf(const MultiCodeWord<8>& cell) {
    std::vector<int> votes;
    for (const ScoredCodeWord& slot : cell.slots()) {
        votes.push_back(slot.votes);
    }
    return votes;
}

TEST(MultiCodeWord, EvictionTiesAndSaturation) {
    MultiCodeWord<8> cell;
    EXPECT_FALSE(cell.getBest().codeWord.isValid());
    EXPECT_EQ(cell.getBest().score, 0.0f);
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
    // A ninth candidate evicts the first slot with the fewest votes, two
    // votes and all; the next newcomer evicts that one again.
    cell.add(cw0(200));
    EXPECT_EQ(cell.slots()[1].codeWord, cw0(200));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));
    cell.add(CodeWord(106, CodeWord::Cluster3)); // another cluster: a stranger
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
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 65535));
    cell.add(cw0(500));
    EXPECT_EQ(cell.slots()[0].codeWord, cw0(0));
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 65535));
    EXPECT_FLOAT_EQ(cell.getBest().score, 65535.0f / (8 * 65535.0f + 1));
}

TEST(MultiTable, GeometryAddAndClear) {
    auto table = std::make_unique<MultiTable>();
    EXPECT_EQ(table->width() + table->height() + table->ecl(), 0u);
    EXPECT_FALSE(table->add(1, 0, 5));
    EXPECT_FALSE(table->get(0, 0).codeWord.isValid());

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
            ASSERT_EQ(info.codeWord.code(), row * 10 + column);
            // Filed under the row's cluster, whatever the recogniser said.
            ASSERT_EQ(info.codeWord.cluster(), static_cast<CodeWord::ECluster>(row % 3));
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
    EXPECT_FALSE(table->getData(data)); // no geometry, no data columns, too few rows
    EXPECT_TRUE(data.codeWords.empty() && data.ecCount == 0);
    table->clear(2, 10, 0);
    EXPECT_FALSE(table->getData(data));
    table->clear(5, 2, 0);
    EXPECT_FALSE(table->getData(data));

    // No descriptor: the whole capacity, unread cells invalid with score 0.
    table->clear(5, 4, 1); // 12 cells, 4 of them error correction
    table->add(2, 0, 11);
    table->add(3, 3, 12);
    ASSERT_TRUE(table->getData(data));
    ASSERT_EQ(data.codeWords.size(), 12u);
    EXPECT_EQ(data.ecCount, 4u);
    EXPECT_FALSE(data.codeWords[0].codeWord.isValid());
    EXPECT_EQ(data.codeWords[0].score, 0.0f);
    EXPECT_EQ(data.codeWords[1].codeWord, cw0(11));
    EXPECT_EQ(data.codeWords[11].codeWord, cw0(12));

    // Descriptor v: v + 4 entries while they fit; never only the EC.
    for (unsigned short v = 0; v <= 12; ++v) {
        table->clear();
        table->add(1, 0, v);
        EXPECT_EQ(table->getData(data), v >= 1 && v <= 8) << v;
        EXPECT_EQ(data.codeWords.size(), v >= 1 && v <= 8 ? v + 4u : 0u);
    }
}

// Symbols drawn by libzint: the synthesised row indicators match its own,
// except the column term, which counts both indicator columns (two more
// than the standard's data columns - 1); and a table voted full of its
// codewords hands back exactly its data and error correction codewords.
TEST(MultiTable, AgainstLibzintSymbols) {
    auto table = std::make_unique<MultiTable>();
    int symbols = 0;
    for (const int columns : {1, 2, 5, 13, 27}) {
        for (const int ecl : {0, 3, 8}) {
            for (const int rows : {3, 4, 5, 29, 90}) {
                test::Pdf417Modules symbol;
                if (!test::encodePdf417("indicators", {columns, ecl, rows}, symbol)) {
                    continue; // more codewords than the shape holds
                }
                ++symbols;
                ASSERT_EQ(symbol.rows, rows);
                table->clear(static_cast<unsigned long>(columns + 2),
                             static_cast<unsigned long>(rows), static_cast<unsigned char>(ecl));
                const auto values = test::symbolCodewords(symbol);
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

} // namespace
} // namespace pdf417
