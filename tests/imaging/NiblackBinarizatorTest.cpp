#include "pdf417scan/imaging/NiblackBinarizator.h"

#include "pdf417scan/imaging/RowUtils.h"

#include "tests/support/LineReference.h"
#include "tests/support/RandomLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using Row = std::vector<unsigned char>;

Row binarized(NiblackBinarizator& b, const Row& in, unsigned blockSize, float k) {
    Row out(3, 77);
    b.binarize(in, out, blockSize, k);
    return out;
}

TEST(NiblackBinarizator, WholeLineCases) {
    NiblackBinarizator b;
    EXPECT_TRUE(binarized(b, {}, 4, -0.4f).empty());
    EXPECT_EQ(binarized(b, Row(9, 80), 4, -0.4f), Row(9, 255)); // T equals the constant
    const Row line = {10, 200, 30, 220, 90, 100, 250};
    const Row whole = binarized(b, line, 7, 0.0f);
    EXPECT_EQ(whole, (Row{0, 255, 0, 255, 0, 0, 255})); // mean 128.57
    EXPECT_EQ(binarized(b, line, 0, 0.0f), whole);
    EXPECT_EQ(binarized(b, line, 1000, 0.0f), whole);
    // k moves the threshold by whole standard deviations (about 88 here).
    EXPECT_EQ(binarized(b, line, 0, -0.5f), (Row{0, 255, 0, 255, 255, 255, 255}));
    EXPECT_EQ(binarized(b, line, 0, 1.0f), (Row{0, 0, 0, 255, 0, 0, 255}));
}

// Random lines, block sizes and k against an independent computation in
// double; samples within a hair of their threshold are left out, where the
// float rounding of the real thing decides.
TEST(NiblackBinarizator, FollowsSmoothedBlockThresholds) {
    std::mt19937 rng(8);
    NiblackBinarizator reused;
    int compared = 0;
    for (int trial = 0; trial < 1000; ++trial) {
        Row in(1 + rng() % 300);
        const int base = int(rng() % 200);
        for (auto& v : in) {
            v = static_cast<unsigned char>(base + int(rng() % 56));
        }
        const unsigned blockSize = rng() % 80;
        const float k = std::uniform_real_distribution<float>(-1, 1)(rng);
        const Row out = binarized(reused, in, blockSize, k);
        NiblackBinarizator fresh;
        ASSERT_EQ(binarized(fresh, in, blockSize, k), out);
        ASSERT_EQ(out.size(), in.size());

        const std::size_t n = in.size();
        const std::size_t block = blockSize == 0 || blockSize > n ? n : blockSize;
        std::vector<double> t;
        for (std::size_t start = 0; start < n; start += block) {
            const std::size_t end = std::min(n, start + block);
            double sum = 0, squares = 0;
            for (std::size_t i = start; i < end; ++i) {
                sum += in[i];
            }
            const double mean = sum / double(end - start);
            for (std::size_t i = start; i < end; ++i) {
                squares += (in[i] - mean) * (in[i] - mean);
            }
            t.push_back(mean + k * std::sqrt(squares / double(end - start)));
        }
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t b = i / block;
            const double T =
                (t[b] + t[b == 0 ? 0 : b - 1] + t[b + 1 == t.size() ? b : b + 1]) / 3.0;
            if (std::fabs(T - in[i]) < 1e-3) {
                continue;
            }
            ASSERT_EQ(out[i], T > in[i] ? 0 : 255) << "trial " << trial << " sample " << i;
            ++compared;
        }
    }
    EXPECT_GT(compared, 100000);
}

// Every output byte against the plain algorithm, on lines of 0 to 5000
// samples: block sizes from 0 to one past the line, the weights the library
// uses and random ones, weights large enough to push every threshold out of
// the gray range, and lines with samples exactly on their threshold.
TEST(NiblackBinarizator, MatchesTheReferenceBitForBit) {
    std::mt19937 rng(15);
    const float systemWeights[] = {-0.4f, 0.15f, 0.0f, -0.15f, 0.3f, -0.45f, 0.6f, -0.8f, 1.0f};
    const float extremes[] = {-40.0f,
                              40.0f,
                              1e30f,
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()};
    NiblackBinarizator reused;
    Row out;
    Row expected;
    for (int trial = 0; trial < 4000; ++trial) {
        const unsigned pick = rng() % 10;
        const std::size_t n = pick < 6 ? rng() % 200 : pick < 9 ? rng() % 1500 : rng() % 5001;
        unsigned blockSize = 0;
        switch (rng() % 6) {
        case 0:
            blockSize = static_cast<unsigned>(n / 8);
            break;
        case 1:
            blockSize = static_cast<unsigned>(n + rng() % 2); // the line, or one past it
            break;
        case 2:
            blockSize = rng() % 3;
            break;
        case 3:
            blockSize = 1 + rng() % 40;
            break;
        default:
            blockSize = static_cast<unsigned>(rng() % (n + 2));
            break;
        }
        float k = 0.0f;
        switch (rng() % 4) {
        case 0:
        case 1:
            k = systemWeights[rng() % std::size(systemWeights)];
            break;
        case 2:
            k = std::uniform_real_distribution<float>(-2, 2)(rng);
            break;
        default:
            k = extremes[rng() % std::size(extremes)];
            break;
        }
        // Exact-threshold lines balance each block around its mean; k = 0
        // then puts the samples equal to the mean exactly on the threshold.
        const Row in = test::adversarialLine(rng, n, blockSize == 0 ? n : blockSize);
        if (rng() % 4 == 0) {
            k = 0.0f;
        }
        reused.binarize(in, out, blockSize, k);
        test::LineReference::binarize(in, expected, blockSize, k);
        ASSERT_EQ(out, expected) << "trial " << trial << ", " << n << " samples, block "
                                 << blockSize << ", k " << k;
    }
}

// One measurement serves every weight: apply after measure gives what
// binarize gives, and each block's deviation is bit for bit its standard
// deviation as RowUtils computes it (the recogniser relies on both for a
// one-block line).
TEST(NiblackBinarizator, MeasuresOnceForManyWeights) {
    std::mt19937 rng(16);
    NiblackBinarizator b;
    Row out;
    Row expected;
    for (int trial = 0; trial < 1500; ++trial) {
        const Row in = test::adversarialLine(rng, 1 + rng() % 400, 1 + rng() % 50);
        const unsigned blockSize = rng() % 3 == 0 ? 0u : static_cast<unsigned>(rng() % 60);
        // With 60 or fewer samples per block there are often eight or more
        // blocks, which are summed side by side.
        b.measure(in, blockSize);
        // Every block's deviation, bit for bit: a sum added in another order
        // would show here long before it flips an output byte.
        const std::size_t block = blockSize == 0 || blockSize > in.size() ? in.size() : blockSize;
        std::size_t blocks = 0;
        for (std::size_t start = 0; start < in.size(); start += block, ++blocks) {
            const Row part(in.begin() + static_cast<std::ptrdiff_t>(start),
                           in.begin() +
                               static_cast<std::ptrdiff_t>(std::min(start + block, in.size())));
            ASSERT_EQ(b.deviation(blocks), RowUtils::calculateStandardDeviation(part));
            ASSERT_EQ(b.deviation(blocks), test::LineReference::standardDeviation(part));
        }
        ASSERT_EQ(b.deviation(blocks), 0.0f);
        for (int i = 0; i < 4; ++i) {
            const float k = std::uniform_real_distribution<float>(-1.5f, 1.5f)(rng);
            b.apply(in, out, k);
            test::LineReference::binarize(in, expected, blockSize, k);
            ASSERT_EQ(out, expected) << trial;
        }
        // A line of another length is measured afresh, with the same block size.
        const Row other = test::adversarialLine(rng, in.size() + 1 + rng() % 30, 7);
        b.apply(other, out, -0.4f);
        test::LineReference::binarize(other, expected, blockSize, -0.4f);
        ASSERT_EQ(out, expected) << trial;
    }
    b.measure({}, 4);
    EXPECT_EQ(b.deviation(0), 0.0f);
    b.apply({}, out, 0.0f);
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace pdf417
