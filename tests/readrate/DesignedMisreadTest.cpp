#include "bench/readrate/DesignedMisread.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace pdf417::bench {
namespace {

using DesignedMisread::Cause;
using DesignedMisread::dataCodewords;
using DesignedMisread::explain;
using DesignedMisread::feature;

std::string words(std::mt19937& rng, std::size_t length) {
    static const char* const WORDS[] = {"alpha", "Bravo", "charlie", "42", "delta", "ECHO"};
    std::string text;
    while (text.size() < length) {
        text += text.empty() ? "" : " ";
        text += WORDS[rng() % 6];
    }
    return text;
}

// A binary byte before text opens the symbol with a byte shift; an ECI or a
// Macro block puts codewords before the data. What the scanner reads from
// such a symbol, altered, is put down to the matching rule; nothing else is:
// the message itself, another wrong read, a symbol without those codewords.
TEST(DesignedMisread, BlamesEachRuleForExactlyItsOwnWrongReads) {
    std::mt19937 rng(17);
    const Barcode2DScanner scanner;
    test::SymbolRenderer renderer;
    int scanned = 0;
    for (int trial = 0; trial < 18; ++trial) {
        const std::string text = words(rng, 5 + rng() % 60);
        const test::ZintOptions plain{2 + trial % 6, 2 + trial % 4};
        test::ZintOptions options = plain;
        std::string message = text;
        Cause cause = Cause::MacroEci;
        if (trial % 3 == 0) {
            message = static_cast<char>(128 + rng() % 128) + text;
            cause = Cause::ByteShift;
        } else if (trial % 3 == 1) {
            message = "Grüße " + text; // UTF-8 under ECI 26 keeps its bytes
            options.eci = 26;
            options.utf8 = true;
        } else {
            options.structIndex = 1 + trial % 3;
            options.structCount = 3;
            options.structId = "123";
        }
        const std::vector<unsigned short> symbolWords = dataCodewords(message, options);
        ASSERT_EQ(feature(symbolWords), cause) << trial;
        EXPECT_EQ(feature(dataCodewords(text, plain)), Cause::None);
        EXPECT_EQ(explain(symbolWords, message, message), Cause::None);
        EXPECT_EQ(explain(symbolWords, message, text), Cause::None); // the tag lost, no more
        EXPECT_EQ(explain(dataCodewords(text, plain), message, text), Cause::None);

        test::Pdf417Modules symbol;
        ASSERT_TRUE(test::encodePdf417(message, options, symbol));
        test::SymbolRenderer::Options place;
        place.moduleWidth = 3.0;
        place.rotationDegrees = 0.5 * (trial % 5);
        place.noiseSigma = 2.0;
        place.seed = static_cast<std::uint64_t>(trial + 1);
        auto frame = renderer.render(test::ModuleGrid(symbol), place);
        const std::string read = scanner.scanGrayscaleImage(
            reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
        if (read.empty()) {
            continue;
        }
        ++scanned;
        EXPECT_NE(read, message) << trial;
        EXPECT_EQ(explain(symbolWords, message, read), cause) << trial;
        std::string other = read;
        other.back() = other.back() == 'x' ? 'y' : 'x';
        EXPECT_EQ(explain(symbolWords, message, other), Cause::None) << trial;
    }
    EXPECT_GE(scanned, 16); // clean frames: nearly all read

    // Arbitrary bytes go into byte compaction, never behind a shift; a layout
    // libzint refuses has no codewords and explains nothing.
    for (int trial = 0; trial < 30; ++trial) {
        std::string bytes(10 + rng() % 100, '\0');
        for (char& c : bytes) {
            c = static_cast<char>(rng() % 256);
        }
        bytes[0] = static_cast<char>(0x80 | (rng() % 128));
        bytes[1] = static_cast<char>(0x80 | (rng() % 128));
        EXPECT_EQ(feature(dataCodewords(bytes, {4, 3})), Cause::None);
    }
    EXPECT_TRUE(dataCodewords("\x90 some text", {31, 3}).empty());
    EXPECT_EQ(explain({}, "a", "b"), Cause::None);
}

} // namespace
} // namespace pdf417::bench
