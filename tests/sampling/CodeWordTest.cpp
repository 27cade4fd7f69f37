#include "pdf417scan/sampling/CodeWord.h"

#include <gtest/gtest.h>

namespace pdf417 {
namespace {

TEST(CodeWord, ValuesClustersAndRowNumbers) {
    for (unsigned short value = 0; value < 929; ++value) {
        for (const auto cluster : {CodeWord::Cluster0, CodeWord::Cluster3, CodeWord::Cluster6}) {
            const CodeWord cw(value, cluster);
            ASSERT_TRUE(cw.isValid() && cw.code() == value && cw.cluster() == cluster);
        }
    }
    EXPECT_NE(CodeWord(5, CodeWord::Cluster0), CodeWord(5, CodeWord::Cluster3));
    EXPECT_EQ(CodeWord().code(), 999);
    for (const unsigned short value : {929, 998, 999, 1000, 16383, 65535}) {
        EXPECT_EQ(CodeWord(value, CodeWord::Cluster3).code(), 999) << value;
    }
    // A cluster outside 0-2 leaves the word alone, in the constructor too.
    CodeWord cw(17, CodeWord::Cluster3);
    cw.set(18, static_cast<CodeWord::ECluster>(3));
    EXPECT_EQ(cw, CodeWord(17, CodeWord::Cluster3));
    EXPECT_EQ(CodeWord(17, static_cast<CodeWord::ECluster>(200)), CodeWord());
    cw.reset();
    EXPECT_EQ(cw, CodeWord());

    // A row indicator carries 30 per group of three rows; its cluster says
    // which row of the group.
    for (unsigned long row = 0; row < 90; ++row) {
        for (const unsigned short extra : {0, 29}) {
            const CodeWord indicator(static_cast<unsigned short>(30 * (row / 3) + extra),
                                     static_cast<CodeWord::ECluster>(row % 3));
            ASSERT_EQ(indicator.extractRowNumber(), row);
        }
    }
}

} // namespace
} // namespace pdf417
