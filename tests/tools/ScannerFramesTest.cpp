// --frames: one reader over consecutive frames pools the codeword votes of
// all of them, so a symbol that no single frame shows whole still reads.

#include "tests/support/Homography.h"
#include "tests/support/ModuleGrid.h"
#include "tests/support/SymbolRenderer.h"
#include "tests/support/ZintPdf417.h"
#include "tests/tools/ScannerTestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace pdf417::test {
namespace {

// Module offsets of a codeword column: start pattern, left row indicator,
// then the data columns, 17 modules each.
constexpr int kStartModules = 17;
constexpr int kCodewordModules = 17;

double dataColumnLeft(int column) {
    return kStartModules + kCodewordModules * (column + 1);
}

// Washes out data columns [first, last] as glare on the paper would: every
// pixel whose symbol coordinates fall in the band, from above the first row
// to below the last, becomes nearly white. The row indicators and the start
// and stop patterns stay intact.
void addGlare(SymbolRenderer::Frame& frame, int first, int last) {
    Homography toSymbol;
    ASSERT_TRUE(frame.symbolToFrame.inverse(toSymbol));
    const double u0 = dataColumnLeft(first);
    const double u1 = dataColumnLeft(last + 1);
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const Vec2 p = toSymbol(x + 0.5, y + 0.5);
            if (p.x >= u0 && p.x < u1 && p.y >= -2.0 && p.y < frame.heightModules + 2.0) {
                frame.pixels[static_cast<std::size_t>(y) * frame.width + x] = 250;
            }
        }
    }
}

TEST(ScannerFrames, GlareOverDifferentColumnsReadsOnlyAcrossFrames) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());

    // Six data columns at level 2: 8 error correction codewords, so a band
    // of two data columns erases far more cells than any Reed-Solomon
    // decoder could restore (at most 8 erasures, and ours keeps 2 spare).
    const std::string message = "FRAMES POOL THEIR VOTES: each of these frames loses a third of "
                                "its data columns to glare, yet together they hold every cell.";
    Pdf417Modules symbol;
    std::string error;
    ASSERT_TRUE(encodePdf417(message, {6, 2, 0}, symbol, &error)) << error;
    ASSERT_EQ(symbol.dataColumns, 6);
    const int ecCodewords = 1 << (2 + 1);
    const int lostPerFrame = 2 * symbol.rows;
    ASSERT_GT(lostPerFrame, ecCodewords);

    const ModuleGrid grid(symbol);
    SymbolRenderer renderer;
    std::vector<std::string> files;
    for (int band = 0; band < 3; ++band) {
        // A hand-held camera: the symbol drifts a little between frames.
        SymbolRenderer::Options options;
        options.frameWidth = 960;
        options.frameHeight = 540;
        options.moduleWidth = 4.0;
        options.centerX = 480.0 + 6.0 * band;
        options.centerY = 270.0 - 4.0 * band;
        options.rotationDegrees = 0.5 * band;
        options.blurSigma = 0.6;
        options.noiseSigma = 2.0;
        options.seed = 100 + static_cast<std::uint64_t>(band);
        SymbolRenderer::Frame frame = renderer.render(grid, options);
        if (band == 0) {
            // Without glare the frame reads alone: the failures below are
            // the glare's doing.
            const std::string clear = dir.file("clear.pgm");
            ASSERT_TRUE(frame.writePgm(clear));
            const auto read = runScanner({clear});
            EXPECT_EQ(read.exitStatus, 0) << read.err;
            EXPECT_EQ(read.out, message + "\n");
        }
        addGlare(frame, 2 * band, 2 * band + 1);
        files.push_back(dir.file("frame" + std::to_string(band + 1) + ".pgm"));
        ASSERT_TRUE(frame.writePgm(files.back()));
    }

    // No frame reads on its own, with or without --frames.
    for (const std::string& file : files) {
        for (const bool pooled : {false, true}) {
            std::vector<std::string> args{file};
            if (pooled) {
                args.insert(args.begin(), "--frames");
            }
            const auto alone = runScanner(args);
            EXPECT_EQ(alone.exitStatus, 1) << file << alone.err;
            EXPECT_EQ(alone.out, "") << file;
        }
    }
    // Read apart, all three fail.
    const auto apart = runScanner(files);
    EXPECT_EQ(apart.exitStatus, 1) << apart.err;
    EXPECT_EQ(apart.out, "");

    // Any two frames together see every data column; the reading comes at
    // the second frame, whichever two are given.
    for (int skipped = 0; skipped < 3; ++skipped) {
        std::vector<std::string> args{"--frames"};
        std::vector<std::string> pair;
        for (int i = 0; i < 3; ++i) {
            if (i != skipped) {
                pair.push_back(files[static_cast<std::size_t>(i)]);
            }
        }
        args.insert(args.end(), pair.begin(), pair.end());
        const auto pooled = runScanner(args);
        EXPECT_EQ(pooled.exitStatus, 0) << "without frame " << skipped + 1 << ": " << pooled.err;
        EXPECT_EQ(pooled.out, "frame 2 (" + pair[1] + "): " + message + "\n");
    }

    std::vector<std::string> args{"--frames", "--json"};
    args.insert(args.end(), files.begin(), files.end());
    const auto json = runScanner(args);
    EXPECT_EQ(json.exitStatus, 0) << json.err;
    const auto line = nlohmann::json::parse(json.out);
    EXPECT_EQ(line.at("ok"), true);
    EXPECT_EQ(line.at("frame"), 2);
    EXPECT_EQ(line.at("file"), files[1]);
    EXPECT_EQ(line.at("text"), message);
}

} // namespace
} // namespace pdf417::test
