#include "bench/readrate/ByteShiftCheck.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace pdf417::bench {
namespace {

using ByteShiftCheck::explainsWrongRead;
using ByteShiftCheck::opensWithByteShift;

std::string words(std::mt19937& rng, std::size_t length) {
    static const char* const WORDS[] = {"alpha", "Bravo", "charlie", "42", "delta", "ECHO"};
    std::string text;
    while (text.size() < length) {
        text += text.empty() ? "" : " ";
        text += WORDS[rng() % 6];
    }
    return text;
}

// A binary byte before text opens the symbol with a byte shift, and exactly
// what the reader makes of such a symbol is put down to the rule: scanned
// from a rendered frame, the message comes back altered, as the check
// predicts. Anything else is not: the message itself, another wrong read,
// and any wrong read of a symbol that does not open with the shift.
TEST(ByteShiftCheck, BlamesTheRuleForExactlyItsOwnWrongReads) {
    std::mt19937 rng(17);
    const Barcode2DScanner scanner;
    test::SymbolRenderer renderer;
    int scanned = 0;
    for (int trial = 0; trial < 30; ++trial) {
        const int columns = 2 + trial % 6;
        const int level = 2 + trial % 4;
        const std::string text = words(rng, 5 + rng() % 60);
        const std::string tagged = static_cast<char>(128 + rng() % 128) + text;
        ASSERT_TRUE(opensWithByteShift(tagged, columns, level)) << trial;
        EXPECT_FALSE(opensWithByteShift(text, columns, level));
        EXPECT_FALSE(explainsWrongRead(tagged, tagged, columns, level));
        EXPECT_FALSE(explainsWrongRead(text, text.substr(1), columns, level));
        EXPECT_FALSE(explainsWrongRead(tagged, text, columns, level)); // the tag lost, no more

        test::Pdf417Modules symbol;
        ASSERT_TRUE(test::encodePdf417(tagged, {columns, level, 0}, symbol));
        test::SymbolRenderer::Options options;
        options.moduleWidth = 3.0;
        options.rotationDegrees = 0.5 * (trial % 5);
        options.noiseSigma = 2.0;
        options.seed = static_cast<std::uint64_t>(trial + 1);
        auto frame = renderer.render(test::ModuleGrid(symbol), options);
        const std::string read = scanner.scanGrayscaleImage(
            reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
        if (read.empty()) {
            continue;
        }
        ++scanned;
        EXPECT_NE(read, tagged) << trial;
        EXPECT_TRUE(explainsWrongRead(tagged, read, columns, level)) << trial;
        std::string other = read;
        other.back() = other.back() == 'x' ? 'y' : 'x';
        EXPECT_FALSE(explainsWrongRead(tagged, other, columns, level)) << trial;
    }
    EXPECT_GT(scanned, 20); // clean frames: nearly all read

    // Arbitrary bytes go into byte compaction, never behind a shift; a layout
    // libzint refuses explains nothing.
    for (int trial = 0; trial < 30; ++trial) {
        std::string bytes(10 + rng() % 100, '\0');
        for (char& c : bytes) {
            c = static_cast<char>(rng() % 256);
        }
        bytes[0] = static_cast<char>(0x80 | (rng() % 128));
        bytes[1] = static_cast<char>(0x80 | (rng() % 128));
        EXPECT_FALSE(opensWithByteShift(bytes, 4, 3));
        EXPECT_FALSE(explainsWrongRead(bytes, "X", 4, 3));
    }
    EXPECT_FALSE(opensWithByteShift("\x90 some text", 31, 3));
}

} // namespace
} // namespace pdf417::bench
