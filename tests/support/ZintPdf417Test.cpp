#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace pdf417::test {
namespace {

// The encoder is the ground truth of many tests, so check that its symbols
// have the shape PDF417 prescribes: start and stop patterns on every row and
// 17 modules per codeword column; impossible options are refused.
TEST(ZintPdf417, SymbolsHaveStartStopAndColumnWidths) {
    const std::pair<int, std::vector<int>> guards[] = {{0, {8, 1, 1, 1, 1, 1, 1, 3}},
                                                       {-18, {7, 1, 1, 3, 1, 1, 1, 2, 1}}};
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
                // Element widths, bar first: the start pattern from the left
                // end, the stop pattern over the last 18 modules.
                for (const auto& [first, widths] : guards) {
                    int x = first < 0 ? symbol.widthModules() + first : first;
                    for (std::size_t e = 0; e < widths.size(); ++e) {
                        for (int i = 0; i < widths[e]; ++i, ++x) {
                            ASSERT_EQ(symbol.bar(r, x), e % 2 == 0)
                                << "row " << r << " module " << x;
                        }
                    }
                }
            }
        }
    }
    Pdf417Modules symbol;
    std::string error;
    EXPECT_FALSE(encodePdf417("x", {31, 2, 0}, symbol, &error)); // too many columns
    EXPECT_FALSE(error.empty());
}

} // namespace
} // namespace pdf417::test
