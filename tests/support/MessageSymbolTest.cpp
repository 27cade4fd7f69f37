#include "tests/support/MessageSymbol.h"
#include "tests/support/Pdf417Codewords.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace pdf417::test {
namespace {

// The generator must give exactly the geometry asked for, with a message that
// libzint really encoded and of the kind asked for.
TEST(MessageSymbol, ExactGeometryAndKind) {
    std::mt19937 rng(3);
    for (int trial = 0; trial < 60; ++trial) {
        const auto kind = static_cast<MessageKind>(trial % 3);
        const int columns = 1 + static_cast<int>(rng() % 30);
        const int rows = 3 + static_cast<int>(rng() % 28);
        const int ecl = static_cast<int>(rng() % 4);
        std::string message;
        Pdf417Modules symbol;
        if (rows * columns - 1 - (2 << ecl) < 1) {
            EXPECT_FALSE(encodeMessageSymbol(kind, rows, columns, ecl, 1.0, rng, message, symbol));
            continue;
        }
        ASSERT_TRUE(encodeMessageSymbol(kind, rows, columns, ecl, 0.5, rng, message, symbol))
            << rows << "x" << columns << " ecl " << ecl;
        EXPECT_TRUE(symbol.rows == rows && symbol.dataColumns == columns);
        EXPECT_FALSE(message.empty());
        EXPECT_TRUE(kind != MessageKind::Digits ||
                    message.find_first_not_of("0123456789") == std::string::npos);
        // The length descriptor counts the data codewords, itself included.
        const auto words = symbolDataCodewords(symbol, ecl);
        ASSERT_FALSE(words.empty());
        EXPECT_EQ(words[0], words.size());
    }
}

TEST(MessageSymbol, ByteShiftOpeningAndRedrawnCodewords) {
    Pdf417Modules symbol;
    // One byte outside text, then text: libzint opens with a byte shift.
    ASSERT_TRUE(encodePdf417(std::string("\xd3") + "HELLO WORLD", {4, 2, 8}, symbol));
    EXPECT_TRUE(opensWithByteShift(symbol, 2));
    ASSERT_TRUE(encodePdf417("HELLO WORLD", {4, 2, 8}, symbol));
    EXPECT_FALSE(opensWithByteShift(symbol, 2));

    // A redrawn codeword reads back in its row's cluster; an invalid value
    // leaves no codeword at all; the neighbours stay as they were.
    const auto before = symbolCodewords(symbol);
    for (int row = 0; row < 3; ++row) {
        ASSERT_TRUE(drawCodeword(symbol, row, 2, 100 + row));
    }
    ASSERT_TRUE(drawCodeword(symbol, 4, 1, -1));
    EXPECT_FALSE(drawCodeword(symbol, 8, 1, 5));
    EXPECT_FALSE(drawCodeword(symbol, 0, 6, 5));
    const auto after = symbolCodewords(symbol);
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 6; ++column) {
            const int expected = column == 2 && row < 3    ? 100 + row
                                 : column == 1 && row == 4 ? -1
                                                           : before[row][column];
            EXPECT_EQ(after[row][column], expected) << row << ", " << column;
        }
    }
}

} // namespace
} // namespace pdf417::test
