#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

namespace pdf417::test {
namespace {

// The encoder is the ground truth of many tests, so check that its symbols
// have the shape PDF417 prescribes: start and stop patterns on every row and
// 17 modules per codeword column.
TEST(ZintPdf417, SymbolsHaveStartStopAndColumnWidths) {
    const int startWidths[] = {8, 1, 1, 1, 1, 1, 1, 3};
    const int stopWidths[] = {7, 1, 1, 3, 1, 1, 1, 2, 1};
    for (int columns : {1, 3, 10, 30}) {
        for (int ecl : {0, 2, 5}) {
            Pdf417Modules symbol;
            std::string error;
            ASSERT_TRUE(encodePdf417("Hello, PDF417 " + std::to_string(columns), {columns, ecl, 0},
                                     symbol, &error))
                << error;
            EXPECT_EQ(symbol.dataColumns, columns);
            EXPECT_EQ(symbol.widthModules(), 17 * columns + 69);
            EXPECT_GE(symbol.rows, 3);
            for (int r = 0; r < symbol.rows; ++r) {
                int x = 0;
                bool bar = true;
                for (int w : startWidths) {
                    for (int i = 0; i < w; ++i, ++x) {
                        ASSERT_EQ(symbol.bar(r, x), bar) << "row " << r << " module " << x;
                    }
                    bar = !bar;
                }
                x = symbol.widthModules() - 18;
                bar = true;
                for (int w : stopWidths) {
                    for (int i = 0; i < w; ++i, ++x) {
                        ASSERT_EQ(symbol.bar(r, x), bar) << "row " << r << " module " << x;
                    }
                    bar = !bar;
                }
            }
        }
    }
}

TEST(ZintPdf417, RefusesImpossibleOptions) {
    Pdf417Modules symbol;
    std::string error;
    EXPECT_FALSE(encodePdf417("x", {31, 2, 0}, symbol, &error));
    EXPECT_FALSE(error.empty());
}

} // namespace
} // namespace pdf417::test
