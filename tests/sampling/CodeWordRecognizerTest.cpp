#include "pdf417scan/sampling/CodeWordRecognizer.h"

#include "tests/support/LineReference.h"
#include "tests/support/ModuleLineRenderer.h"
#include "tests/support/Pdf417Codewords.h"

#include <gtest/gtest.h>

#include <random>

namespace pdf417 {
namespace {

using test::CodewordPattern;

CodeWord::ECluster clusterOf(const CodewordPattern& p) {
    return static_cast<CodeWord::ECluster>(p.cluster / 3);
}

CodeWord expectedOf(const CodewordPattern& p) {
    return CodeWord(static_cast<unsigned short>(p.value), clusterOf(p));
}

const std::vector<CodewordPattern>& patterns() {
    const auto& all = test::codewordPatterns();
    EXPECT_EQ(all.size(), 2787u) << "data/pdf417-codewords.tsv not readable";
    return all;
}

// Codeword `p` as the sampler sees it: between the previous codeword's closing
// space and the next one's opening bar, cut at both ends with a random error
// of up to half a pixel, blurred a little and noisy.
std::vector<unsigned char> cameraSamples(const CodewordPattern& p, double pixelsPerModule,
                                         std::mt19937& rng) {
    std::vector<std::uint8_t> line(2, 0);
    const auto modules = test::patternModules(p.widths);
    line.insert(line.end(), modules.begin(), modules.end());
    line.insert(line.end(), {1, 1, 0});
    test::LineStyle style;
    style.pixelsPerModule = pixelsPerModule;
    style.blurSigma = 0.4;
    style.noiseSigma = 3.0;
    std::uniform_real_distribution<double> cut(-0.5 / pixelsPerModule, 0.5 / pixelsPerModule);
    const double from = 2.0 + cut(rng);
    const double to = 19.0 + cut(rng);
    return test::renderModuleLine(line, from, to, style, rng);
}

// Run lengths of a pattern at an integer scale, as squeeze would give them
// for a stretch starting exactly on the first bar (one sample longer).
std::vector<short> exactRuns(const CodewordPattern& p, int pixelsPerModule) {
    std::vector<short> runs;
    for (std::size_t i = 0; i < 8; ++i) {
        const int length = p.widths[i] * pixelsPerModule;
        runs.push_back(static_cast<short>(i % 2 == 0 ? -length : length));
    }
    return runs;
}

TEST(CodeWordRecognizer, RecognisesEveryPatternFromThreeAndAHalfPixelsPerModule) {
    CodeWordRecognizer recognizer;
    std::mt19937 rng(2024);
    std::uniform_real_distribution<double> scale(3.5, 6.0);
    int readings = 0;
    for (const CodewordPattern& p : patterns()) {
        for (const double ppm : {3.5, 4.0, 5.0, 6.0, scale(rng), scale(rng)}) {
            const CodeWord cw = recognizer.recognize(cameraSamples(p, ppm, rng));
            ASSERT_EQ(cw, expectedOf(p))
                << "cluster " << p.cluster << " value " << p.value << " at " << ppm << " px/module";
            ++readings;
        }
    }
    EXPECT_EQ(readings, 6 * 2787);
}

// Under 3.5 pixels per module the edges' pixel quantisation (half a pixel
// each, a third of a module at 1.5 px) and the first run's extra sample
// round some distances to the wrong module count: a reading is then refused
// or, less often, another codeword of the cluster. The vote table and the
// error correction absorb those; these bounds are about 1.5 times the rates
// measured with this generator.
TEST(CodeWordRecognizer, LowResolutionReadingRates) {
    struct Band {
        double from, to;
        double maxRefused, maxWrong;
    };
    const Band bands[] = {{1.5, 2.0, 0.20, 0.17}, {2.0, 2.5, 0.05, 0.05}, {2.5, 3.5, 0.005, 0.002}};
    CodeWordRecognizer recognizer;
    std::mt19937 rng(77);
    for (const Band& band : bands) {
        std::uniform_real_distribution<double> scale(band.from, band.to);
        int refused = 0;
        int wrong = 0;
        int total = 0;
        for (int pass = 0; pass < 2; ++pass) {
            for (const CodewordPattern& p : patterns()) {
                const CodeWord cw = recognizer.recognize(cameraSamples(p, scale(rng), rng));
                ++total;
                refused += cw.isValid() ? 0 : 1;
                wrong += cw.isValid() && cw != expectedOf(p) ? 1 : 0;
            }
        }
        const double refusedRate = static_cast<double>(refused) / total;
        const double wrongRate = static_cast<double>(wrong) / total;
        RecordProperty("band_" + std::to_string(band.from),
                       std::to_string(refusedRate) + " refused, " + std::to_string(wrongRate) +
                           " wrong");
        EXPECT_LE(refusedRate, band.maxRefused) << band.from << "-" << band.to << " px/module";
        EXPECT_LE(wrongRate, band.maxWrong) << band.from << "-" << band.to << " px/module";
    }
}

TEST(CodeWordRecognizer, RefusesFlatShortAndMalformedStretches) {
    CodeWordRecognizer recognizer;
    std::mt19937 rng(3);
    EXPECT_FALSE(recognizer.recognize({}).isValid());
    EXPECT_FALSE(recognizer.recognize({0}).isValid());
    EXPECT_FALSE(recognizer.recognize(std::vector<unsigned char>(68, 128)).isValid());

    const CodewordPattern& p = patterns()[123];
    const auto modules = test::patternModules(p.widths);
    test::LineStyle style;
    style.pixelsPerModule = 4.0;
    // Contrast decides: a standard deviation under 10 is flat.
    style.dark = 120.0;
    style.light = 135.0;
    EXPECT_FALSE(
        recognizer.recognize(test::renderModuleLine(modules, 0, 17, style, rng)).isValid());
    style.dark = 100.0;
    EXPECT_EQ(recognizer.recognize(test::renderModuleLine(modules, 0, 17, style, rng)),
              expectedOf(p));

    style = test::LineStyle();
    style.pixelsPerModule = 4.0;
    for (const CodewordPattern& q : patterns()) {
        // Cut inside the third space: three bars are not a codeword.
        const auto bits = test::patternModules(q.widths);
        const double cut =
            q.widths[0] + q.widths[1] + q.widths[2] + q.widths[3] + q.widths[4] + 0.5 * q.widths[5];
        ASSERT_FALSE(
            recognizer.recognize(test::renderModuleLine(bits, 0, cut, style, rng)).isValid())
            << q.cluster << "/" << q.value;
    }
    // Start and stop patterns, a bar wider than 9.5 modules, five bars.
    const std::vector<std::uint8_t> malformed[] = {
        test::patternModules({8, 1, 1, 1, 1, 1, 1, 3}),
        {1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 1}, // stop
        test::patternModules({10, 1, 1, 1, 1, 1, 1, 1}),
        {1, 0, 1, 0, 1, 1, 0, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0}};
    for (const double ppm : {2.0, 3.0, 4.5, 6.0}) {
        style.pixelsPerModule = ppm;
        for (const auto& bits : malformed) {
            const double length = static_cast<double>(bits.size());
            EXPECT_FALSE(recognizer.recognize(test::renderModuleLine(bits, 0, length, style, rng))
                             .isValid());
        }
    }
}

// Binary stretches at 4 samples per module, cut so that each repair of the
// run list is needed for the right answer.
TEST(CodeWordRecognizer, RepairsTheEndsOfTheRunList) {
    CodeWordRecognizer recognizer;
    std::mt19937 rng(9);
    test::LineStyle style;
    style.pixelsPerModule = 4.0;
    style.dark = 0.0;
    style.light = 255.0;
    int checked = 0;
    for (std::size_t i = 0; i < patterns().size(); i += 7) {
        const CodewordPattern& p = patterns()[i];
        std::vector<std::uint8_t> line(4, 0);
        const auto modules = test::patternModules(p.widths);
        line.insert(line.end(), modules.begin(), modules.end());
        line.insert(line.end(), {1, 1, 0, 0});
        // A light run in front (the previous codeword's space) is dropped.
        EXPECT_EQ(recognizer.recognize(test::renderModuleLine(line, 3.5, 20.5, style, rng)),
                  expectedOf(p));
        // The next codeword's bar at the end makes a ninth run, dropped.
        EXPECT_EQ(recognizer.recognize(test::renderModuleLine(line, 4.5, 21.5, style, rng)),
                  expectedOf(p));
        // A stretch ending on the last bar gets its closing space back.
        const double last = p.widths[7];
        EXPECT_EQ(
            recognizer.recognize(test::renderModuleLine(line, 4 - last, 21 - last, style, rng)),
            expectedOf(p));
        ++checked;
    }
    EXPECT_EQ(checked, 399);
}

// The recogniser against the plain loop over its weights, on stretches cut
// anywhere along a line of codewords (so that many need several weights or
// fail after all of them), from 1 to 9 pixels per module, and on noise.
TEST(CodeWordRecognizer, MatchesTheReferenceLoop) {
    CodeWordRecognizer recognizer;
    std::mt19937 rng(31);
    int valid = 0;
    int invalid = 0;
    for (int trial = 0; trial < 6000; ++trial) {
        std::vector<unsigned char> samples;
        if (trial % 10 == 0) {
            samples.resize(rng() % 200);
            const int base = static_cast<int>(rng() % 200);
            const int span = 1 + static_cast<int>(rng() % 56);
            for (auto& v : samples) {
                v = static_cast<unsigned char>(base + static_cast<int>(rng() % span));
            }
        } else {
            std::vector<std::uint8_t> line;
            for (int i = 0; i < 3; ++i) {
                const auto modules =
                    test::patternModules(patterns()[rng() % patterns().size()].widths);
                line.insert(line.end(), modules.begin(), modules.end());
            }
            test::LineStyle style;
            style.pixelsPerModule = std::uniform_real_distribution<double>(1.0, 9.0)(rng);
            style.blurSigma = std::uniform_real_distribution<double>(0.0, 1.0)(rng);
            style.noiseSigma = std::uniform_real_distribution<double>(0.0, 12.0)(rng);
            // Mostly near a codeword's edges, sometimes anywhere.
            const double shift = trial % 3 == 0
                                     ? std::uniform_real_distribution<double>(-8.0, 8.0)(rng)
                                     : std::uniform_real_distribution<double>(-0.7, 0.7)(rng);
            const double length = 17.0 + std::uniform_real_distribution<double>(-1.0, 1.0)(rng);
            samples = test::renderModuleLine(line, 17.0 + shift, 17.0 + shift + length, style, rng);
        }
        const CodeWord cw = recognizer.recognize(samples);
        ASSERT_EQ(cw, test::LineReference::recognize(samples, recognizer)) << "trial " << trial;
        ++(cw.isValid() ? valid : invalid);
    }
    EXPECT_GT(valid, 1500);
    EXPECT_GT(invalid, 1500);
}

TEST(CodeWordRecognizer, DecodeMeasuresDistancesInWholeModules) {
    const CodeWordRecognizer recognizer;
    EXPECT_EQ(recognizer.decode({-3, 1, -1, 1, -1, 1, -3, 6}, 17), CodeWord(0, CodeWord::Cluster0));
    // Only magnitudes count, and the eighth run only by its presence.
    EXPECT_EQ(recognizer.decode({3, 1, 1, 1, 1, 1, 3, 6}, 17), CodeWord(0, CodeWord::Cluster0));
    EXPECT_EQ(recognizer.decode({-3, 1, -1, 1, -1, 1, -3, 1000}, 17),
              CodeWord(0, CodeWord::Cluster0));
    EXPECT_FALSE(recognizer.decode({-3, 1, -1, 1, -1, 1, -3}, 17).isValid());
    EXPECT_FALSE(recognizer.decode({-3, 1, -1, 1, -1, 1, -3, 6, -1}, 17).isValid());
    EXPECT_FALSE(recognizer.decode({}, 17).isValid());
    EXPECT_FALSE(recognizer.decode({-3, 1, -1, 1, -1, 1, -3, 6}, 0).isValid());
    EXPECT_FALSE(recognizer.decode({0, 0, 0, 0, 0, 0, 0, 0}, 17).isValid());
    EXPECT_FALSE(recognizer.decode({-32768, 32767, -32768, 32767, -32768, 32767, -32768, 32767}, 17)
                     .isValid());
    // Codeword 0 of cluster 0 has E = 4,2,2,2,2,4. Widening its first or
    // seventh run moves the cluster number off 0, 3 and 6; E = 2,7,7,2,2,7
    // gives a negative one. None of them is read.
    for (const short k : {1, 2, 4, 5}) {
        EXPECT_FALSE(recognizer.decode({short(-3 - k), 1, -1, 1, -1, 1, -3, 6}, 17).isValid());
        EXPECT_FALSE(recognizer.decode({-3, 1, -1, 1, -1, 1, short(-3 - k), 6}, 17).isValid());
    }
    EXPECT_FALSE(recognizer.decode({-1, 1, -6, 1, -1, 1, -6, 1}, 17).isValid());

    for (const CodewordPattern& p : patterns()) {
        // Every pattern at several scales, at exactly its module widths.
        for (const int scale : {1, 2, 3, 7}) {
            ASSERT_EQ(recognizer.decode(exactRuns(p, scale), 17ul * scale), expectedOf(p))
                << p.cluster << "/" << p.value << " x" << scale;
        }
        // At 2 samples per module one sample is half a module: a distance
        // of E - 0.5 modules still counts as E (halves go up), E + 0.5 as
        // E + 1, which is another key and so never this codeword.
        for (std::size_t i = 0; i < 8; ++i) {
            std::vector<short> runs = exactRuns(p, 2);
            runs[i] = static_cast<short>(runs[i] + (runs[i] < 0 ? 1 : -1));
            ASSERT_EQ(recognizer.decode(runs, 34), expectedOf(p)) << p.value << " run " << i;
            runs = exactRuns(p, 2);
            runs[i] = static_cast<short>(runs[i] + (runs[i] < 0 ? -1 : 1));
            if (i < 7) {
                ASSERT_NE(recognizer.decode(runs, 34), expectedOf(p)) << p.value << " run " << i;
            } else {
                ASSERT_EQ(recognizer.decode(runs, 34), expectedOf(p)) << p.value;
            }
        }
        // E1 of 8.5 modules is read as 9; 9.5 modules is too wide.
        if (p.widths[0] + p.widths[1] == 9) {
            std::vector<short> runs = exactRuns(p, 2);
            runs[0] = static_cast<short>(runs[0] + 1);
            EXPECT_EQ(recognizer.decode(runs, 34), expectedOf(p));
            runs[0] = static_cast<short>(runs[0] - 2);
            EXPECT_FALSE(recognizer.decode(runs, 34).isValid());
        }
    }
}

} // namespace
} // namespace pdf417
