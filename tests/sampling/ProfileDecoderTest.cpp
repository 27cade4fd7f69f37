// Every codeword pattern of the standard's table drawn as a camera would see
// it along one line (blurred, ink spread or shrunk, at any sub-pixel phase,
// 1.5 to 6 samples per module) reads back as itself; what does not read is
// refused rather than misread with confidence.
#include "pdf417scan/sampling/ProfileDecoder.h"
#include "tests/support/Pdf417Codewords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace pdf417::test {
namespace {

// The profile of `modules` (1 = bar) sampled every 1/spm modules from
// `start` modules before the first, each sample the mean of paper (200) and
// ink (40) over the sample's width, bars widened by `spread` modules, then
// blurred by a Gaussian of `sigma` samples.
std::vector<float> profileOf(const std::vector<std::uint8_t>& modules, double spm, double start,
                             double spread, double sigma) {
    const int count = static_cast<int>((modules.size() + 2 * start) * spm);
    std::vector<float> sharp(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        double ink = 0.0;
        for (int k = 0; k < 8; ++k) {
            const double u = (i + (k + 0.5) / 8.0) / spm - start;
            bool bar = false;
            for (std::size_t m = 0; m < modules.size() && !bar; ++m) {
                bar = modules[m] && u >= m - spread / 2 && u < m + 1 + spread / 2;
            }
            ink += bar ? 1.0 / 8 : 0.0;
        }
        sharp[static_cast<std::size_t>(i)] = static_cast<float>(200.0 - 160.0 * ink);
    }
    if (sigma <= 0.0) {
        return sharp;
    }
    std::vector<float> out(sharp.size());
    const int reach = static_cast<int>(std::ceil(3 * sigma));
    for (int i = 0; i < count; ++i) {
        double sum = 0.0;
        double weight = 0.0;
        for (int k = -reach; k <= reach; ++k) {
            const int j = std::min(count - 1, std::max(0, i + k));
            const double w = std::exp(-0.5 * k * k / (sigma * sigma));
            sum += w * sharp[static_cast<std::size_t>(j)];
            weight += w;
        }
        out[static_cast<std::size_t>(i)] = static_cast<float>(sum / weight);
    }
    return out;
}

TEST(ProfileDecoder, ReadsEveryPatternDrawnAsACameraSeesIt) {
    const auto& patterns = codewordPatterns();
    ASSERT_EQ(patterns.size(), 2787u);
    std::mt19937 rng(17);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int read = 0;
    int sure = 0;
    for (const CodewordPattern& p : patterns) {
        // The codeword between a bar before (the last of the previous
        // codeword's elements is a space) and the next codeword's first bar.
        std::vector<std::uint8_t> modules = {1, 0};
        const auto mine = patternModules(p.widths);
        modules.insert(modules.end(), mine.begin(), mine.end());
        modules.insert(modules.end(), {1, 1, 0});
        const double spm = 1.5 + 4.5 * unit(rng);
        const double spread = 0.3 * (unit(rng) - 0.5);
        const double sigma = spm * 0.45 * unit(rng);
        const double phase = unit(rng);
        const std::vector<float> profile = profileOf(modules, spm, phase, spread, sigma);
        ProfileReading reading;
        const float expectedStart = static_cast<float>((phase + 2.0) * spm);
        const int cluster = p.cluster / 3;
        if (!ProfileDecoder::decode(profile.data(), static_cast<int>(profile.size()),
                                    static_cast<float>(spm), expectedStart, cluster, reading)) {
            continue;
        }
        ++read;
        EXPECT_EQ(reading.value, p.value) << "cluster " << p.cluster << " spm " << spm;
        EXPECT_EQ(reading.clusterIndex, cluster);
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
    EXPECT_FALSE(ProfileDecoder::decode(flat.data(), 120, 5.0f, 10.0f, 0, nothing));
    EXPECT_EQ(nothing.value, -1);
}

} // namespace
} // namespace pdf417::test
