// --frames: one reader over consecutive frames pools the codeword votes of
// all of them, so a symbol that no single frame shows whole still reads.

#include "tests/support/Glare.h"
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

TEST(ScannerFrames, GlareOverDifferentColumnsReadsOnlyAcrossFrames) {
    ScratchDir dir;
    ASSERT_TRUE(dir.ok());

    // Six data columns at level 2: 8 error correction codewords, so a band
    // of two data columns erases far more cells than any Reed-Solomon
    // decoder could restore (at most 8 erasures).
    const std::string message = "FRAMES POOL THEIR VOTES: each of these frames loses a third of "
                                "its data columns to glare, yet together they hold every cell.";
    Pdf417Modules symbol;
    std::string error;
    ASSERT_TRUE(encodePdf417(message, {6, 2, 0}, symbol, &error)) << error;
    ASSERT_EQ(symbol.dataColumns, 6);
    ASSERT_GT(2 * symbol.rows, 8); // cells lost per frame, against 8 check codewords

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

    // No frame reads on its own, with or without --frames, nor all three
    // read apart. Any two frames together see every data column; the
    // reading comes at the second frame, whichever two are given.
    for (const std::string& file : files) {
        for (const auto& args : {std::vector<std::string>{file}, {"--frames", file}}) {
            const auto alone = runScanner(args);
            EXPECT_EQ(alone.exitStatus, 1) << file << alone.err;
            EXPECT_EQ(alone.out, "") << file;
        }
    }
    const auto apart = runScanner(files);
    EXPECT_EQ(apart.exitStatus, 1) << apart.err;
    EXPECT_EQ(apart.out, "");
    for (int skipped = 0; skipped < 3; ++skipped) {
        const std::string& second = files[skipped == 2 ? 1 : 2];
        const auto pooled = runScanner({"--frames", files[skipped == 0 ? 1 : 0], second});
        EXPECT_EQ(pooled.exitStatus, 0) << "without frame " << skipped + 1 << ": " << pooled.err;
        EXPECT_EQ(pooled.out, "frame 2 (" + second + "): " + message + "\n");
    }

    const auto json = runScanner({"--frames", "--json", files[0], files[1], files[2]});
    EXPECT_EQ(json.exitStatus, 0) << json.err;
    const auto line = nlohmann::json::parse(json.out);
    EXPECT_EQ(line.at("ok"), true);
    EXPECT_EQ(line.at("frame"), 2);
    EXPECT_EQ(line.at("file"), files[1]);
    EXPECT_EQ(line.at("text"), message);
}

} // namespace
} // namespace pdf417::test
