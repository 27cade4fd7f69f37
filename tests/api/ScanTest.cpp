#include "pdf417scan/api/Scan.h"

#include "pdf417scan/api/Barcode2DScanner.h"
#include "tests/support/MessageSymbol.h"
#include "tests/support/SymbolCase.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

// Refusals come before any pixel is read: the buffers below are far smaller
// than the sizes claimed, so reading them would be caught by the sanitizer.
TEST(CheckedScan, RefusesBadCalls) {
    std::vector<unsigned char> pixels(64, 200);
    EXPECT_EQ(scan(nullptr, 64, 8, 8).status, ScanStatus::NullBuffer);
    EXPECT_EQ(scan(nullptr, 0, 0, 0).status, ScanStatus::NullBuffer);
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{
             {0, 8}, {8, 0}, {-8, 8}, {8, -1}, {INT_MIN, INT_MIN}, {0, 0}}) {
        const ScanResult r = scan(pixels.data(), pixels.size(), width, height);
        EXPECT_EQ(r.status, ScanStatus::BadDimensions) << width << "x" << height;
        EXPECT_TRUE(r.bytes.empty());
        EXPECT_FALSE(r.ok());
    }
    EXPECT_EQ(scan(pixels.data(), 63, 8, 8).status, ScanStatus::BufferTooSmall);
    EXPECT_EQ(scan(pixels.data(), 64, 8, 9).status, ScanStatus::BufferTooSmall);
    // Products that wrap in 32 bits: 65536² is 0 and (2³¹ - 1)² is 1 there.
    EXPECT_EQ(scan(pixels.data(), 64, 65536, 65536).status, ScanStatus::BufferTooSmall);
    EXPECT_EQ(scan(pixels.data(), 64, INT_MAX, INT_MAX).status, ScanStatus::BufferTooSmall);
    EXPECT_EQ(scan(pixels.data(), 64, INT_MAX, 2).status, ScanStatus::BufferTooSmall);
    // A valid call on a frame without a symbol.
    EXPECT_EQ(scan(pixels.data(), 64, 8, 8).status, ScanStatus::NothingRead);
    EXPECT_EQ(scan(pixels.data(), 64, 64, 1).status, ScanStatus::NothingRead);

    for (const ScanStatus s : {ScanStatus::Read, ScanStatus::NothingRead, ScanStatus::NullBuffer,
                               ScanStatus::BadDimensions, ScanStatus::BufferTooSmall}) {
        EXPECT_FALSE(std::string(describe(s)).empty());
    }
    EXPECT_STREQ(describe(ScanStatus::BadDimensions), "width and height must be positive");
}

// On valid frames the checked entry says what the unchecked one says, and
// ignores bytes beyond width x height.
TEST(CheckedScan, AgreesWithTheUncheckedEntry) {
    std::mt19937 rng(31);
    int read = 0;
    for (int trial = 0; trial < 12; ++trial) {
        std::string message;
        Pdf417Modules symbol;
        const int rows = 6 + static_cast<int>(rng() % 20);
        const int columns = 1 + static_cast<int>(rng() % 8);
        ASSERT_TRUE(encodeMessageSymbol(static_cast<MessageKind>(trial % 3), rows, columns, 2, 0.7,
                                        rng, message, symbol));
        if (opensWithByteShift(symbol, 2)) {
            continue; // read as text on purpose: not this test's business
        }
        // Some too fine to read.
        const SymbolCase placement{rows, columns, trial % 4 == 3 ? 1.5 : 3.0, 90.0 * (trial % 4)};
        auto frame = renderCase(symbol, placement, static_cast<std::uint64_t>(trial) + 1);

        const std::string unchecked = Barcode2DScanner().scanGrayscaleImage(
            reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
        std::vector<unsigned char> padded = frame.pixels;
        padded.resize(padded.size() + 100, 0);
        const ScanResult checked = scan(padded.data(), padded.size(), frame.width, frame.height);
        EXPECT_EQ(checked.bytes, unchecked) << trial;
        EXPECT_EQ(checked.status, unchecked.empty() ? ScanStatus::NothingRead : ScanStatus::Read);
        EXPECT_EQ(checked.ok(), !unchecked.empty());
        read += checked.ok() ? 1 : 0;
        if (checked.ok()) {
            EXPECT_EQ(checked.bytes, message);
        }
    }
    EXPECT_GE(read, 6); // both outcomes were compared
    EXPECT_LT(read, 12);
}

} // namespace
} // namespace pdf417::test
