#include "pdf417scan/sampling/MultiTable.h"

#include "tests/support/Pdf417Codewords.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

namespace pdf417 {
namespace {

CodeWord cw0(unsigned short value) {
    return CodeWord(value, CodeWord::Cluster0);
}

template <std::size_t N>
std::vector<int> votesOf(const MultiCodeWord<N>& cell) {
    std::vector<int> votes;
    for (const ScoredCodeWord& slot : cell.slots()) {
        votes.push_back(slot.votes);
    }
    return votes;
}

TEST(MultiCodeWord, VotesFillSlotsInOrderAndEvictTheFirstWeakest) {
    MultiCodeWord<8> cell;
    EXPECT_FALSE(cell.getBest().codeWord.isValid());
    EXPECT_EQ(cell.getBest().score, 0.0f);

    cell.add(CodeWord()); // invalid votes are ignored
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 0));

    const int votes[8] = {3, 2, 5, 2, 4, 2, 6, 3};
    for (unsigned short i = 0; i < 8; ++i) {
        for (int v = 0; v < votes[i]; ++v) {
            cell.add(cw0(static_cast<unsigned short>(100 + i)));
        }
    }
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 2, 5, 2, 4, 2, 6, 3}));
    EXPECT_EQ(cell.slots()[2].codeWord, cw0(102));

    // A ninth candidate takes the first slot with the fewest votes; the two
    // votes of that slot are lost.
    cell.add(cw0(200));
    EXPECT_EQ(cell.slots()[1].codeWord, cw0(200));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));
    // The next newcomer evicts the previous one, now the weakest.
    cell.add(cw0(201));
    EXPECT_EQ(cell.slots()[1].codeWord, cw0(201));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));
    // The evicted candidate 101 comes back as a stranger.
    cell.add(cw0(101));
    EXPECT_EQ(cell.slots()[1].codeWord, cw0(101));
    EXPECT_EQ(votesOf(cell), (std::vector<int>{3, 1, 5, 2, 4, 2, 6, 3}));

    // Whole-word match: the same value in another cluster is a stranger.
    cell.add(CodeWord(106, CodeWord::Cluster3));
    EXPECT_EQ(cell.slots()[1].codeWord, CodeWord(106, CodeWord::Cluster3));
    EXPECT_EQ(cell.slots()[6].votes, 6);

    const CodeWordInfo best = cell.getBest();
    EXPECT_EQ(best.codeWord, cw0(106));
    EXPECT_FLOAT_EQ(best.score, 6.0f / (3 + 1 + 5 + 2 + 4 + 2 + 6 + 3 + 1));

    cell.reset();
    EXPECT_EQ(votesOf(cell), std::vector<int>(8, 0));
    EXPECT_FALSE(cell.getBest().codeWord.isValid());
}

TEST(MultiCodeWord, BestAndScore) {
    MultiCodeWord<8> cell;
    cell.add(cw0(7));
    EXPECT_EQ(cell.getBest().codeWord, cw0(7));
    EXPECT_EQ(cell.getBest().score, 0.5f); // a lone vote

    // Ties go to the lower slot.
    cell.add(cw0(9));
    EXPECT_EQ(cell.getBest().codeWord, cw0(7));
    EXPECT_FLOAT_EQ(cell.getBest().score, 1.0f / 3.0f);
    cell.add(cw0(9));
    EXPECT_EQ(cell.getBest().codeWord, cw0(9));
    cell.add(cw0(7));
    EXPECT_EQ(cell.getBest().codeWord, cw0(7));
    EXPECT_FLOAT_EQ(cell.getBest().score, 2.0f / 5.0f);

    // Over many random vote sequences the winner is the lowest slot with the
    // most votes and the score stays below 1.
    std::mt19937 rng(5);
    for (int round = 0; round < 200; ++round) {
        MultiCodeWord<8> random;
        const int count = static_cast<int>(rng() % 60) + 1;
        for (int i = 0; i < count; ++i) {
            random.add(cw0(static_cast<unsigned short>(rng() % 6)));
        }
        int most = 0;
        std::uint32_t sum = 0;
        CodeWord expected;
        for (const ScoredCodeWord& slot : random.slots()) {
            sum += slot.votes;
            if (slot.votes > most) {
                most = slot.votes;
                expected = slot.codeWord;
            }
        }
        ASSERT_EQ(sum, static_cast<std::uint32_t>(count)); // six candidates never evict
        const CodeWordInfo best = random.getBest();
        ASSERT_EQ(best.codeWord, expected);
        ASSERT_FLOAT_EQ(best.score, static_cast<float>(most) / static_cast<float>(sum + 1));
        ASSERT_LT(best.score, 1.0f);
    }
}

TEST(MultiCodeWord, VoteCountsSaturate) {
    MultiCodeWord<8> cell;
    for (int i = 0; i < 70000; ++i) {
        cell.add(cw0(1));
    }
    EXPECT_EQ(cell.slots()[0].votes, 65535);
    EXPECT_FLOAT_EQ(cell.getBest().score, 65535.0f / 65536.0f);
    cell.add(cw0(2));
    EXPECT_EQ(cell.slots()[1].votes, 1);

    // With every slot saturated no newcomer can displace anything.
    MultiCodeWord<8> full;
    for (unsigned short value = 0; value < 8; ++value) {
        for (int i = 0; i < 65535; ++i) {
            full.add(cw0(value));
        }
    }
    full.add(cw0(500));
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(full.slots()[i].codeWord, cw0(static_cast<unsigned short>(i)));
        EXPECT_EQ(full.slots()[i].votes, 65535);
    }
}

TEST(MultiTable, GeometryAddAndGet) {
    auto table = std::make_unique<MultiTable>();
    EXPECT_EQ(table->width(), 0u);
    EXPECT_EQ(table->height(), 0u);
    EXPECT_EQ(table->ecl(), 0u);
    EXPECT_FALSE(table->add(1, 0, 5));
    EXPECT_FALSE(table->get(0, 0).codeWord.isValid());

    table->clear(40, 100, 12);
    EXPECT_EQ(table->width(), 30u);
    EXPECT_EQ(table->height(), 90u);
    EXPECT_EQ(table->ecl(), 8u);

    table->clear(7, 9, 3);
    // Indicator columns and rows outside the table are refused.
    EXPECT_FALSE(table->add(0, 0, 5));
    EXPECT_FALSE(table->add(6, 0, 5));
    EXPECT_FALSE(table->add(3, 9, 5));
    EXPECT_FALSE(table->add(100, 1, 5));
    // Every data cell is its own: vote a distinct value into each.
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
            ASSERT_EQ(info.score, 0.5f);
        }
    }
    EXPECT_FALSE(table->get(7, 0).codeWord.isValid());
    EXPECT_FALSE(table->get(1, 9).codeWord.isValid());
    EXPECT_EQ(table->get(1, 9).score, 0.0f);

    // A value of 929 or more is accepted as a call but casts no vote.
    EXPECT_TRUE(table->add(2, 2, 929));
    EXPECT_EQ(table->get(2, 2).score, 0.5f);

    table->clear();
    EXPECT_EQ(table->width(), 7u);
    for (unsigned long column = 1; column <= 5; ++column) {
        EXPECT_FALSE(table->get(column, 4).codeWord.isValid());
    }
}

// The indicator columns are computed the way PDF417 does it, except that the
// column count term is width - 1 with both indicator columns counted: two
// more than the standard's data columns - 1. libzint follows the standard.
TEST(MultiTable, RowIndicatorsAgainstLibzint) {
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
                ASSERT_EQ(symbol.dataColumns, columns);
                ASSERT_EQ(symbol.rows, rows);
                table->clear(static_cast<unsigned long>(columns + 2),
                             static_cast<unsigned long>(rows), static_cast<unsigned char>(ecl));
                const auto values = test::symbolCodewords(symbol);
                for (int row = 0; row < rows; ++row) {
                    const auto& line = values[static_cast<std::size_t>(row)];
                    const int columnsQuirk = row % 3 == 2 ? 2 : 0;
                    const CodeWordInfo left = table->get(0, static_cast<unsigned long>(row));
                    ASSERT_EQ(left.codeWord.code(), line.front() + columnsQuirk)
                        << columns << "x" << rows << " ecl " << ecl << " row " << row;
                    ASSERT_EQ(left.codeWord.cluster(), static_cast<CodeWord::ECluster>(row % 3));
                    ASSERT_EQ(left.score, 1.0f);
                    const int rightQuirk = row % 3 == 0 ? 2 : 0;
                    const CodeWordInfo right = table->get(static_cast<unsigned long>(columns + 1),
                                                          static_cast<unsigned long>(row));
                    ASSERT_EQ(right.codeWord.code(), line.back() + rightQuirk)
                        << columns << "x" << rows << " ecl " << ecl << " row " << row;
                    ASSERT_EQ(right.score, 1.0f);
                }
            }
        }
    }
    EXPECT_GE(symbols, 30);
}

TEST(MultiTable, GetDataFollowsTheLengthDescriptor) {
    auto table = std::make_unique<MultiTable>();
    MultiTable::TableData data;
    data.codeWords.resize(3);
    data.ecCount = 7;
    EXPECT_FALSE(table->getData(data)); // fresh table
    EXPECT_TRUE(data.codeWords.empty());
    EXPECT_EQ(data.ecCount, 0u);

    table->clear(2, 10, 0);
    EXPECT_FALSE(table->getData(data));
    table->clear(5, 2, 0);
    EXPECT_FALSE(table->getData(data));

    // No descriptor read: the whole capacity, unread cells invalid with 0.
    table->clear(5, 4, 1); // 3 data columns, 12 cells, 4 EC codewords
    table->add(2, 0, 11);
    table->add(3, 3, 12);
    ASSERT_TRUE(table->getData(data));
    ASSERT_EQ(data.codeWords.size(), 12u);
    EXPECT_EQ(data.ecCount, 4u);
    EXPECT_FALSE(data.codeWords[0].codeWord.isValid());
    EXPECT_EQ(data.codeWords[0].score, 0.0f);
    EXPECT_EQ(data.codeWords[1].codeWord, CodeWord(11, CodeWord::Cluster0));
    EXPECT_EQ(data.codeWords[11].codeWord, CodeWord(12, CodeWord::Cluster0));
    EXPECT_EQ(data.codeWords[11].score, 0.5f);

    // Descriptor v: exactly v + 2^(ecl + 1) entries.
    for (unsigned short v = 1; v <= 8; ++v) {
        table->clear();
        table->add(1, 0, v);
        ASSERT_TRUE(table->getData(data)) << v;
        ASSERT_EQ(data.codeWords.size(), v + 4u);
        EXPECT_EQ(data.codeWords[0].codeWord.code(), v);
    }
    for (const unsigned short v : {9, 100, 928}) {
        table->clear();
        table->add(1, 0, v);
        EXPECT_FALSE(table->getData(data)) << v;
        EXPECT_TRUE(data.codeWords.empty());
        EXPECT_EQ(data.ecCount, 0u);
    }
    table->clear();
    table->add(1, 0, 0); // only error correction would remain
    EXPECT_FALSE(table->getData(data));
}

// A table voted full of a libzint symbol's codewords hands back exactly its
// data and error correction codewords.
TEST(MultiTable, GetDataOfAVotedSymbol) {
    auto table = std::make_unique<MultiTable>();
    const std::string message = "The vote table hands on what was read, 0123456789.";
    for (const int columns : {1, 4, 11}) {
        for (const int ecl : {0, 2, 4}) {
            test::Pdf417Modules symbol;
            ASSERT_TRUE(test::encodePdf417(message, {columns, ecl, 0}, symbol));
            const auto values = test::symbolCodewords(symbol);
            table->clear(static_cast<unsigned long>(columns + 2),
                         static_cast<unsigned long>(symbol.rows), static_cast<unsigned char>(ecl));
            std::vector<int> expected;
            for (int row = 0; row < symbol.rows; ++row) {
                for (int column = 1; column <= columns; ++column) {
                    const int value =
                        values[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
                    expected.push_back(value);
                    // A stray misreading loses to two good ones.
                    table->add(static_cast<unsigned long>(column), static_cast<unsigned long>(row),
                               static_cast<unsigned short>(value));
                    table->add(static_cast<unsigned long>(column), static_cast<unsigned long>(row),
                               static_cast<unsigned short>((value + 1) % 929));
                    table->add(static_cast<unsigned long>(column), static_cast<unsigned long>(row),
                               static_cast<unsigned short>(value));
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

} // namespace
} // namespace pdf417
