// Codewords read from gray profiles, against the standard's pattern table.
#include "pdf417scan/sampling/CodeWordRecognizer.h"
#include "pdf417scan/sampling/ProfileDecoder.h"
#include "tests/support/LineReference.h"
#include "tests/support/ModuleLineRenderer.h"
#include "tests/support/Pdf417Codewords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

CodeWord expectedOf(const CodewordPattern& p) {
    return CodeWord(static_cast<unsigned short>(p.value),
                    static_cast<CodeWord::ECluster>(p.cluster / 3));
}

const std::vector<CodewordPattern>& patterns() {
    const auto& all = codewordPatterns();
    EXPECT_EQ(all.size(), 2787u) << "data/pdf417-codewords.tsv not readable";
    return all;
}

// A pattern's runs at an integer scale, as squeezed from its first bar.
std::vector<short> exactRuns(const CodewordPattern& p, int pixelsPerModule) {
    std::vector<short> runs;
    for (std::size_t i = 0; i < 8; ++i) {
        const int length = p.widths[i] * pixelsPerModule;
        runs.push_back(static_cast<short>(i % 2 == 0 ? -length : length));
    }
    return runs;
}

// The recogniser against the plain loop over its weights, on noise and on
// stretches cut anywhere along three codewords (many need several weights,
// the run repairs at the ends, or fail), 1 to 9 pixels per module. Cut
// within half a pixel of the middle codeword at 3.5 or more, it reads it.
TEST(CodeWordRecognizer, MatchesTheReferenceLoopAndReadsCleanCuts) {
    CodeWordRecognizer recognizer;
    std::mt19937 rng(31);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int valid = 0;
    for (int trial = 0; trial < 8000; ++trial) {
        std::vector<unsigned char> samples;
        const bool clean = trial % 3 == 1;
        const CodewordPattern& middle = patterns()[rng() % patterns().size()];
        if (trial % 10 == 0) {
            samples.resize(rng() % 200);
            const int base = static_cast<int>(rng() % 200);
            const int span = 1 + static_cast<int>(rng() % 56);
            for (auto& v : samples) {
                v = static_cast<unsigned char>(base + static_cast<int>(rng() % span));
            }
        } else {
            std::vector<std::uint8_t> line;
            for (const auto* p : {&patterns()[rng() % patterns().size()], &middle,
                                  &patterns()[rng() % patterns().size()]}) {
                const auto modules = patternModules(p->widths);
                line.insert(line.end(), modules.begin(), modules.end());
            }
            LineStyle style;
            style.pixelsPerModule = clean ? 3.5 + 2.5 * unit(rng) : 1.0 + 8.0 * unit(rng);
            style.blurSigma = clean ? 0.4 : unit(rng);
            style.noiseSigma = clean ? 3.0 : 12.0 * unit(rng);
            // Mostly near a codeword's edges, sometimes anywhere.
            const double cut = (unit(rng) - 0.5) / style.pixelsPerModule;
            const double shift = clean            ? cut
                                 : trial % 3 == 0 ? 16 * unit(rng) - 8
                                                  : 1.4 * unit(rng) - 0.7;
            const double end = clean ? 34.0 + (unit(rng) - 0.5) / style.pixelsPerModule
                                     : 34.0 + shift + 2 * unit(rng) - 1;
            samples = renderModuleLine(line, 17.0 + shift, end, style, rng);
        }
        const CodeWord cw = recognizer.recognize(samples);
        ASSERT_EQ(cw, LineReference::recognize(samples, recognizer)) << "trial " << trial;
        ASSERT_TRUE(!clean || trial % 10 == 0 || cw == expectedOf(middle))
            << "cluster " << middle.cluster << " value " << middle.value;
        valid += cw.isValid() ? 1 : 0;
    }
    EXPECT_TRUE(valid > 3000 && valid < 7000);
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
    EXPECT_FALSE(recognizer.decode({-3, 1, -1, 1, -1, 1, -3, 6}, 0).isValid());
    EXPECT_FALSE(recognizer.decode({0, 0, 0, 0, 0, 0, 0, 0}, 17).isValid());
    EXPECT_FALSE(recognizer.decode({-32768, 32767, -32768, 32767, -32768, 32767, -32768, 32767}, 17)
                     .isValid());
    // Codeword 0 of cluster 0 has E = 4,2,2,2,2,4. Widening its first or
    // seventh run moves the cluster number off 0, 3 and 6; E = 2,7,7,2,2,7
    // gives a negative one.
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
        // At 2 samples per module, E - 0.5 modules counts as E (halves go
        // up) and E + 0.5 as E + 1: another key, never this codeword.
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

// `modules` (1 = bar) sampled every 1/spm modules from `start` before the
// first, bars widened by `spread` modules, blurred by `sigma` samples.
std::vector<float> profileOf(const std::vector<std::uint8_t>& modules, double spm, double start,
                             double spread, double sigma, std::mt19937& rng) {
    std::vector<std::uint8_t> fine(modules.size() * 20 + 40, 0);
    for (std::size_t i = 0; i < fine.size(); ++i) {
        const double u = (static_cast<double>(i) + 0.5) / 20.0 - 1.0;
        for (std::size_t m = 0; m < modules.size() && !fine[i]; ++m) {
            fine[i] = modules[m] && u >= m - spread / 2 && u < m + 1 + spread / 2;
        }
    }
    LineStyle style;
    style.pixelsPerModule = spm / 20.0;
    style.blurSigma = sigma;
    style.dark = 40.0;
    style.light = 200.0;
    const double from = 20.0 * (1.0 - start);
    const auto samples = renderModuleLine(
        fine, from, from + 20.0 * (static_cast<double>(modules.size()) + 2 * start), style, rng);
    return std::vector<float>(samples.begin(), samples.end());
}

// Every pattern drawn as a camera sees it (blurred, ink spread or shrunk,
// any phase, 1.5 to 6 samples per module) reads back as itself, or is
// refused rather than misread with confidence.
TEST(ProfileDecoder, ReadsEveryPatternDrawnAsACameraSeesIt) {
    std::mt19937 rng(17);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int read = 0;
    int sure = 0;
    for (const CodewordPattern& p : patterns()) {
        // Between the previous codeword's last bar and the next one's first.
        std::vector<std::uint8_t> modules = {1, 0};
        const auto mine = patternModules(p.widths);
        modules.insert(modules.end(), mine.begin(), mine.end());
        modules.insert(modules.end(), {1, 1, 0});
        const double spm = 1.5 + 4.5 * unit(rng);
        const double spread = 0.3 * (unit(rng) - 0.5);
        const double sigma = spm * 0.45 * unit(rng);
        const double phase = unit(rng);
        const std::vector<float> profile = profileOf(modules, spm, phase, spread, sigma, rng);
        ProfileReading reading;
        const float expectedStart = static_cast<float>((phase + 2.0) * spm);
        const int cluster = p.cluster / 3;
        if (!ProfileDecoder::decode(profile.data(), static_cast<int>(profile.size()),
                                    static_cast<float>(spm), expectedStart, cluster, reading)) {
            continue;
        }
        ++read;
        EXPECT_TRUE(reading.value == p.value && reading.clusterIndex == cluster)
            << "cluster " << p.cluster << " spm " << spm;
        EXPECT_NEAR(reading.start, expectedStart, 0.5 * spm);
        EXPECT_NEAR(reading.end - reading.start, 17.0 * spm, 1.0 * spm);
        sure += reading.confidence >= 0.5f ? 1 : 0;
        // Without the row's cluster it must name the same codeword.
        ProfileReading any;
        ASSERT_TRUE(ProfileDecoder::decode(profile.data(), static_cast<int>(profile.size()),
                                           static_cast<float>(spm), expectedStart, -1, any));
        EXPECT_EQ(any.value, p.value);
    }
    EXPECT_GE(read, 2787 * 97 / 100);
    EXPECT_GE(sure, read * 8 / 10);

    // Flat paper holds no codeword.
    const std::vector<float> flat(120, 180.0f);
    ProfileReading nothing;
    EXPECT_FALSE(ProfileDecoder::decode(flat.data(), 120, 5.0f, 10.0f, 0, nothing) ||
                 nothing.value != -1);
}

} // namespace
} // namespace pdf417::test
