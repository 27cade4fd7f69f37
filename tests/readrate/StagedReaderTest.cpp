#include "bench/readrate/StagedReader.h"
#include "pdf417scan/api/Barcode2DScanner.h"
#include "pdf417scan/imaging/Image.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace pdf417::bench {
namespace {

// The staged run must read exactly what the scanner reads, easy frames and
// hard ones, upright and turned, and say how far it got.
TEST(StagedReader, ReadsWhatTheScannerReads) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const Barcode2DScanner scanner;
    StagedReader staged;
    int reads = 0, misses = 0;
    for (int trial = 0; trial < 16; ++trial) {
        std::string message = "staged " + std::to_string(trial);
        for (int k = 0; k < trial * 3; ++k) {
            message += static_cast<char>('A' + rng() % 26);
        }
        test::Pdf417Modules symbol;
        ASSERT_TRUE(test::encodePdf417(message, {2 + trial % 6, 2 + trial % 4, 0}, symbol));
        test::SymbolRenderer::Options options;
        options.frameWidth = 640;
        options.frameHeight = 480;
        // From too small to read to comfortable.
        options.moduleWidth = 1.3 + 2.5 * unit(rng);
        options.rotationDegrees = 90.0 * (trial % 4) + 6.0 * (unit(rng) - 0.5);
        options.noiseSigma = 8.0 * unit(rng);
        options.blurSigma = 0.4 * options.moduleWidth * unit(rng);
        options.seed = static_cast<std::uint64_t>(trial + 1);
        auto frame = test::SymbolRenderer().render(test::ModuleGrid(symbol), options);
        if (trial % 8 == 7) {
            frame.pixels.assign(frame.pixels.size(), 128); // nothing to find
        }
        const std::string expected = scanner.scanGrayscaleImage(
            reinterpret_cast<const char*>(frame.pixels.data()), frame.width, frame.height);
        Image image = frame.image();
        for (int pass = 0; pass < 2; ++pass) { // nothing carries over between scans
            std::vector<unsigned char> bytes{1, 2, 3};
            StageTimes times;
            const Reached reached = staged.scan(image, bytes, times);
            EXPECT_EQ(std::string(bytes.begin(), bytes.end()), expected) << "trial " << trial;
            EXPECT_EQ(reached == Reached::Read, !bytes.empty()) << describe(reached);
            EXPECT_GT(times.detect, 0.0);
            EXPECT_GE(std::min({times.cut, times.sample, times.correct, times.decode}), 0.0);
            if (reached != Reached::Read) {
                EXPECT_EQ(times.decode, 0.0);
            }
            if (reached == Reached::NoSymbol) {
                EXPECT_EQ(times.cut + times.sample + times.correct, 0.0);
            }
        }
        (expected == message ? reads : misses) += 1;
    }
    // Both kinds of frame were met, or the comparison proved little.
    EXPECT_GT(reads, 4);
    EXPECT_GT(misses, 2);
}

} // namespace
} // namespace pdf417::bench
