// Row utilities and the Niblack binariser, against plain per-sample loops.
#include "pdf417scan/imaging/RowUtils.h"
#include "pdf417scan/imaging/NiblackBinarizator.h"
#include "tests/support/LineReference.h"
#include "tests/support/RandomLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <numeric>
#include <random>
#include <tuple>
#include <vector>

namespace pdf417::test {
namespace {

using Row = std::vector<unsigned char>;
using Runs = std::vector<short>;

// Rows made of runs of random length, so that both short and long runs occur.
Row randomRow(std::mt19937& rng) {
    Row row;
    const std::size_t length = 1 + rng() % 200;
    while (row.size() < length) {
        row.insert(row.end(), 1 + rng() % 8, static_cast<unsigned char>(rng()));
    }
    row.resize(length);
    return row;
}

// Hand examples; then every run against the plain per-sample loop, on lines
// of 0 to 5000 samples and any threshold, and on lines whose runs do not fit
// in 16 bits. Those saturate, a guard of ours: a wrapped run would overflow
// a signed 16-bit value and come out with the other colour.
TEST(RowUtils, SqueezeMatchesTheReference) {
    Runs runs = {123};
    RowUtils::squeeze({10, 10, 200, 200, 200, 10}, runs, 127);
    EXPECT_EQ(runs, (Runs{-3, 3, -1})); // the first run one sample long
    RowUtils::squeeze({127, 126}, runs, 127);
    EXPECT_EQ(runs, (Runs{2, -1})); // equal to the threshold is light
    Row row(40000, 0);
    row.insert(row.end(), 3, 255);
    row.insert(row.end(), 70000, 0);
    RowUtils::squeeze(row, runs, 127);
    EXPECT_EQ(runs, (Runs{-32767, 3, -32767}));
    std::mt19937 rng(21);
    Runs expected;
    for (int trial = 0; trial < 6000; ++trial) {
        const std::size_t n = trial % 10 == 0 ? rng() % 5001 : rng() % 300;
        row = trial % 3 == 0 ? randomRow(rng) : adversarialLine(rng, n, 1 + rng() % 64);
        if (trial % 1000 == 1) { // runs of 32766 to 40000 samples
            row.assign(32766 + rng() % 8000, 0);
            row.insert(row.end(), 32767 + rng() % 3, 255);
        }
        // As on binarised lines, either extreme, equal to some sample, any.
        const unsigned char picks[] = {127, static_cast<unsigned char>(rng() % 2 ? 0 : 255),
                                       row.empty() ? static_cast<unsigned char>(0)
                                                   : row[rng() % row.size()],
                                       static_cast<unsigned char>(rng())};
        const unsigned char threshold = picks[std::min(3u, unsigned(rng() % 5))];
        runs.assign(1 + rng() % 9, 5); // stale content must go
        RowUtils::squeeze(row, runs, threshold);
        LineReference::squeeze(row, expected, threshold);
        ASSERT_EQ(runs, expected) << "trial " << trial << ", " << row.size()
                                  << " samples, threshold " << int(threshold);
    }
}

// The short first run keeps its colour; a zero is never flipped but merges
// as light; merged runs saturate at 32767 (our guard against wrapping into
// the other colour).
TEST(RowUtils, FilterExamples) {
    const std::tuple<Runs, unsigned long, Runs> cases[] = {
        {{-5, 2, -1, 6}, 2, {-8, 6}},     {{-3, 1, -4}, 0, {-3, 1, -4}},
        {{-3, 1, -4}, 1, {-8}},           {{1}, 5, {1}},
        {{2, -9, 3}, 5, {2, -12}},        {{4, 0, -1}, 5, {5}},
        {{-32767, 5, -100}, 5, {-32767}}, {{10, -32768, 4}, 40000, {32767}}};
    for (const auto& [in, maxLength, out] : cases) {
        Runs runs = in;
        RowUtils::filter(runs, maxLength);
        EXPECT_EQ(runs, out) << maxLength;
    }
}

// Totals and the first colour kept; later runs alternate, over maxLength.
TEST(RowUtils, FilterRemovesShortInnerRuns) {
    std::mt19937 rng(4);
    Runs runs;
    for (int trial = 0; trial < 2000; ++trial) {
        RowUtils::squeeze(randomRow(rng), runs, static_cast<unsigned char>(rng()));
        const Runs before = runs;
        const unsigned long maxLength = rng() % 6;
        RowUtils::filter(runs, maxLength);
        long total = 0;
        for (short r : before) {
            total += std::abs(r);
        }
        for (std::size_t i = 0; i < runs.size(); ++i) {
            total -= std::abs(runs[i]);
            if (i > 0 && maxLength > 0) {
                ASSERT_NE(runs[i] < 0, runs[i - 1] < 0);
                ASSERT_GT(static_cast<unsigned long>(std::abs(runs[i])), maxLength);
            }
        }
        ASSERT_TRUE(total == 0 && (runs[0] < 0) == (before[0] < 0));
        ASSERT_TRUE(maxLength > 0 || runs == before);
    }
}

TEST(RowUtils, FindAndStatistics) {
    EXPECT_EQ(RowUtils::findWhite({10, 100, 100, 101, 5}, 100), 3u);
    EXPECT_EQ(RowUtils::findWhite({10, 100}, 100) + RowUtils::findWhite({}, 100), 2u);
    EXPECT_EQ(RowUtils::findBlack({200, 100, 99, 250}, 100), 2u);
    EXPECT_EQ(RowUtils::findBlack({200, 100}, 100) + RowUtils::findBlack({}, 100), 2u);
    EXPECT_EQ(RowUtils::calculateMean({}) + RowUtils::calculateDeviation({}, 3) +
                  RowUtils::calculateStandardDeviation({}),
              0);
    EXPECT_EQ(RowUtils::calculateDeviation({1, 3}, 0), std::sqrt(5.0f)); // divides by n
    std::mt19937 rng(6);
    for (int trial = 0; trial < 500; ++trial) {
        const Row row = randomRow(rng);
        const float m = RowUtils::calculateMean(row);
        ASSERT_NEAR(m, std::accumulate(row.begin(), row.end(), 0.0) / row.size(), 1e-4);
        const float sd = RowUtils::calculateStandardDeviation(row);
        ASSERT_TRUE(sd == RowUtils::calculateDeviation(row, m) &&
                    sd == LineReference::standardDeviation(row));
    }
}

// The word-wise reversal and the chunked sum against plain loops, the sum
// wrapping round 32 bits like them.
TEST(RowUtils, ReverseAndSumMatchPlainLoops) {
    std::mt19937 rng(23);
    for (std::size_t n = 0; n <= 100; ++n) {
        Row row(n);
        Runs runs(n);
        for (std::size_t i = 0; i < n; ++i) {
            row[i] = static_cast<unsigned char>(rng());
            runs[i] = static_cast<short>(rng());
        }
        const Row reversed(row.rbegin(), row.rend());
        const Runs reversedRuns(runs.rbegin(), runs.rend());
        RowUtils::reverse(row);
        RowUtils::reverse(runs);
        ASSERT_TRUE(row == reversed && runs == reversedRuns) << n;
        std::uint32_t sum = 0;
        for (const unsigned char v : row) {
            sum += v;
        }
        ASSERT_EQ(RowUtils::sumSamples(row.data(), n), sum);
    }
    const Row bright(16843010, 255); // sums to 2^32 + 254
    EXPECT_EQ(RowUtils::sumSamples(bright.data(), bright.size()), 254u);
    EXPECT_EQ(RowUtils::calculateMean(bright), 254.0f / 16843010.0f);
}

// Every output byte against the plain algorithm, on lines of 0 to 5000
// samples, block sizes from 0 to one past the line, the library's weights,
// random and extreme ones, and samples exactly on their threshold.
TEST(NiblackBinarizator, MatchesTheReferenceBitForBit) {
    std::mt19937 rng(15);
    const float systemWeights[] = {-0.4f, 0.15f, 0.0f, -0.15f, 0.3f, -0.45f, 0.6f, -0.8f, 1.0f};
    const float inf = std::numeric_limits<float>::infinity();
    const float extremes[] = {-40, 40, 1e30f, inf, -inf, std::numeric_limits<float>::quiet_NaN()};
    NiblackBinarizator reused;
    Row out;
    Row expected;
    for (int trial = 0; trial < 4000; ++trial) {
        const unsigned pick = rng() % 10;
        const std::size_t n = pick < 6 ? rng() % 200 : pick < 9 ? rng() % 1500 : rng() % 5001;
        // An eighth of the line, the line or one past it, tiny, small, any.
        const std::size_t blockSizes[] = {n / 8, n + rng() % 2, rng() % 3, 1 + rng() % 40,
                                          rng() % (n + 2)};
        const auto blockSize = static_cast<unsigned>(blockSizes[std::min(4u, unsigned(rng() % 6))]);
        const float system = systemWeights[rng() % std::size(systemWeights)];
        const float weights[] = {system, system, std::uniform_real_distribution<float>(-2, 2)(rng),
                                 extremes[rng() % std::size(extremes)]};
        float k = weights[rng() % 4];
        // Exact-threshold lines balance each block around its mean; k = 0
        // then puts the samples equal to the mean exactly on the threshold.
        const Row in = adversarialLine(rng, n, blockSize == 0 ? n : blockSize);
        if (rng() % 4 == 0) {
            k = 0.0f;
        }
        reused.binarize(in, out, blockSize, k);
        LineReference::binarize(in, expected, blockSize, k);
        ASSERT_EQ(out, expected) << "trial " << trial << ", " << n << " samples, block "
                                 << blockSize << ", k " << k;
    }
}

// One measurement serves many weights (the recogniser relies on it), and a
// block's deviation is bit for bit its standard deviation.
TEST(NiblackBinarizator, MeasuresOnceForManyWeights) {
    std::mt19937 rng(16);
    NiblackBinarizator b;
    Row out;
    Row expected;
    for (int trial = 0; trial < 1500; ++trial) {
        const Row in = adversarialLine(rng, 1 + rng() % 400, 1 + rng() % 50);
        const unsigned blockSize = rng() % 3 == 0 ? 0u : static_cast<unsigned>(rng() % 60);
        // Often eight or more blocks, which are summed side by side: a sum
        // added in another order shows here before it flips an output byte.
        b.measure(in, blockSize);
        const std::size_t block = blockSize == 0 || blockSize > in.size() ? in.size() : blockSize;
        std::size_t blocks = 0;
        for (std::size_t start = 0; start < in.size(); start += block, ++blocks) {
            const auto from = in.begin() + static_cast<std::ptrdiff_t>(start);
            const Row part(from,
                           from + static_cast<std::ptrdiff_t>(std::min(block, in.size() - start)));
            ASSERT_EQ(b.deviation(blocks), LineReference::standardDeviation(part));
        }
        ASSERT_EQ(b.deviation(blocks), 0.0f);
        for (int i = 0; i < 4; ++i) {
            const float k = std::uniform_real_distribution<float>(-1.5f, 1.5f)(rng);
            b.apply(in, out, k);
            LineReference::binarize(in, expected, blockSize, k);
            ASSERT_EQ(out, expected) << trial;
        }
        // A line of another length is measured afresh, with the same block size.
        const Row other = adversarialLine(rng, in.size() + 1 + rng() % 30, 7);
        b.apply(other, out, -0.4f);
        LineReference::binarize(other, expected, blockSize, -0.4f);
        ASSERT_EQ(out, expected) << trial;
    }
    b.measure({}, 4);
    b.apply({}, out, 0.0f);
    EXPECT_TRUE(b.deviation(0) == 0.0f && out.empty());
}

} // namespace
} // namespace pdf417::test
