#include "pdf417scan/sampling/CodeWord.h"

#include <gtest/gtest.h>

namespace pdf417 {
namespace {

TEST(CodeWord, PacksEveryValueWithItsCluster) {
    const CodeWord::ECluster clusters[] = {CodeWord::Cluster0, CodeWord::Cluster3,
                                           CodeWord::Cluster6};
    for (unsigned short value = 0; value < 929; ++value) {
        for (const CodeWord::ECluster cluster : clusters) {
            const CodeWord cw(value, cluster);
            ASSERT_TRUE(cw.isValid());
            ASSERT_EQ(cw.code(), value);
            ASSERT_EQ(cw.cluster(), cluster);
        }
    }
    // The same value in two clusters is two different codewords.
    EXPECT_NE(CodeWord(5, CodeWord::Cluster0), CodeWord(5, CodeWord::Cluster3));
    EXPECT_EQ(CodeWord(5, CodeWord::Cluster6), CodeWord(5, CodeWord::Cluster6));
}

TEST(CodeWord, InvalidValuesAndClusters) {
    EXPECT_FALSE(CodeWord().isValid());
    EXPECT_EQ(CodeWord().code(), 999);
    EXPECT_EQ(CodeWord().cluster(), CodeWord::Cluster0);

    for (const unsigned short value : {929, 930, 999, 1000, 16383, 65535}) {
        const CodeWord cw(static_cast<unsigned short>(value), CodeWord::Cluster3);
        EXPECT_FALSE(cw.isValid()) << value;
        EXPECT_EQ(cw.code(), 999) << value;
    }
    const CodeWord top(928, CodeWord::Cluster6);
    EXPECT_EQ(top.code(), 928);
    EXPECT_EQ(top.cluster(), CodeWord::Cluster6);

    // A cluster outside 0-2 leaves the word alone, in the constructor too.
    CodeWord cw(17, CodeWord::Cluster3);
    cw.set(18, static_cast<CodeWord::ECluster>(3));
    EXPECT_EQ(cw, CodeWord(17, CodeWord::Cluster3));
    EXPECT_EQ(CodeWord(17, static_cast<CodeWord::ECluster>(200)), CodeWord());

    cw.reset();
    EXPECT_FALSE(cw.isValid());
    EXPECT_EQ(cw, CodeWord());
}

TEST(CodeWord, RowNumberOfRowIndicators) {
    EXPECT_EQ(CodeWord(65, CodeWord::Cluster3).extractRowNumber(), 7u);
    // A row indicator of row r is 30 × (r / 3) plus something below 30, in
    // cluster r mod 3.
    for (unsigned long row = 0; row < 90; ++row) {
        for (unsigned short low = 0; low < 30; ++low) {
            const CodeWord indicator(static_cast<unsigned short>(30 * (row / 3) + low),
                                     static_cast<CodeWord::ECluster>(row % 3));
            ASSERT_EQ(indicator.extractRowNumber(), row) << low;
        }
    }
}

} // namespace
} // namespace pdf417
