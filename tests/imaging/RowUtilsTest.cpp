#include "pdf417scan/imaging/RowUtils.h"

#include "tests/support/LineReference.h"
#include "tests/support/RandomLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace pdf417 {
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

Runs squeezed(const Row& row, unsigned char threshold) {
    Runs runs = {123};
    RowUtils::squeeze(row, runs, threshold);
    return runs;
}

// Runs that do not fit in 16 bits saturate but keep their colour, in squeeze
// and in filter, so the signs still alternate.
TEST(RowUtils, SqueezeExamplesAndSaturation) {
    EXPECT_EQ(squeezed({10, 10, 200, 200, 200, 10}, 127), (Runs{-3, 3, -1}));
    EXPECT_EQ(squeezed({127, 126}, 127), (Runs{2, -1})); // equal to threshold is light
    EXPECT_TRUE(squeezed({}, 127).empty());

    Row row(40000, 0);
    row.insert(row.end(), 3, 255);
    row.insert(row.end(), 70000, 0);
    EXPECT_EQ(squeezed(row, 127), (Runs{-32767, 3, -32767}));
    Runs runs = {-32767, 5, -100};
    RowUtils::filter(runs, 5);
    EXPECT_EQ(runs, Runs{-32767});
    runs = {10, -32768, 4};
    RowUtils::filter(runs, 40000);
    EXPECT_EQ(runs, Runs{32767});
}

// Every run against the plain per-sample loop, on lines of 0 to 5000 samples
// and any threshold, binarised lines included, and on lines whose runs
// overflow 16 bits; and the runs alternate, add up to the length plus one and
// expand back into the row's dark/light pattern.
TEST(RowUtils, SqueezeMatchesTheReferenceAndDescribesTheRow) {
    std::mt19937 rng(21);
    Runs runs;
    Runs expected;
    for (int trial = 0; trial < 6000; ++trial) {
        const std::size_t n = trial % 10 == 0 ? rng() % 5001 : rng() % 300;
        Row row = trial % 3 == 0 ? randomRow(rng) : test::adversarialLine(rng, n, 1 + rng() % 64);
        // As on binarised lines, either extreme, equal to some sample, any.
        const unsigned char picks[] = {127, static_cast<unsigned char>(rng() % 2 ? 0 : 255),
                                       row.empty() ? static_cast<unsigned char>(0)
                                                   : row[rng() % row.size()],
                                       static_cast<unsigned char>(rng())};
        const unsigned char threshold = picks[std::min(3u, unsigned(rng() % 5))];
        runs.assign(1 + rng() % 9, 5); // stale content must go
        RowUtils::squeeze(row, runs, threshold);
        test::LineReference::squeeze(row, expected, threshold);
        ASSERT_EQ(runs, expected) << "trial " << trial << ", " << row.size()
                                  << " samples, threshold " << int(threshold);
        ASSERT_EQ(runs.empty(), row.empty());
        long total = 0;
        std::vector<bool> dark;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            ASSERT_NE(runs[i], 0);
            ASSERT_TRUE(i == 0 || (runs[i] < 0) != (runs[i - 1] < 0));
            total += std::abs(runs[i]);
            dark.insert(dark.end(), std::abs(runs[i]) - (i == 0 ? 1 : 0), runs[i] < 0);
        }
        ASSERT_EQ(total, row.empty() ? 0 : long(row.size()) + 1);
        for (std::size_t i = 0; i < row.size(); ++i) {
            ASSERT_EQ(dark[i], row[i] < threshold);
        }
    }
    for (const std::size_t first : {32766u, 32767u, 32768u, 40000u}) {
        Row row(first, 0);
        row.insert(row.end(), 32767 + rng() % 3, 255);
        row.insert(row.end(), 1 + rng() % 9, 0);
        RowUtils::squeeze(row, runs, 127);
        test::LineReference::squeeze(row, expected, 127);
        ASSERT_EQ(runs, expected) << first;
    }
}

TEST(RowUtils, FilterExamples) {
    struct Case {
        Runs in;
        unsigned long maxLength;
        Runs out;
    };
    const Case cases[] = {
        {{-5, 2, -1, 6}, 2, {-8, 6}}, {{-3, 1, -4}, 0, {-3, 1, -4}},
        {{-3, 1, -4}, 1, {-8}},       {{1}, 5, {1}},
        {{2, -9, 3}, 5, {2, -12}}, // the short first run keeps its colour
        {{4, 0, -1}, 5, {5}},      // a zero is never flipped but merges as light
    };
    for (const Case& c : cases) {
        Runs runs = c.in;
        RowUtils::filter(runs, c.maxLength);
        EXPECT_EQ(runs, c.out) << c.maxLength;
    }
}

// On random run vectors: the total is kept, the first colour is kept, the
// result alternates and every run after the first is longer than maxLength.
TEST(RowUtils, FilterRemovesShortInnerRuns) {
    std::mt19937 rng(4);
    Runs runs;
    for (int trial = 0; trial < 2000; ++trial) {
        RowUtils::squeeze(randomRow(rng), runs, static_cast<unsigned char>(rng()));
        const Runs before = runs;
        const unsigned long maxLength = rng() % 6;
        RowUtils::filter(runs, maxLength);
        long totalBefore = 0, totalAfter = 0;
        for (short r : before) {
            totalBefore += std::abs(r);
        }
        for (std::size_t i = 0; i < runs.size(); ++i) {
            totalAfter += std::abs(runs[i]);
            if (i > 0 && maxLength > 0) {
                ASSERT_NE(runs[i] < 0, runs[i - 1] < 0);
                ASSERT_GT(static_cast<unsigned long>(std::abs(runs[i])), maxLength);
            }
        }
        ASSERT_EQ(totalAfter, totalBefore);
        ASSERT_EQ(runs[0] < 0, before[0] < 0);
        if (maxLength == 0) {
            ASSERT_EQ(runs, before);
        }
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
        double sum = 0, squares = 0;
        for (unsigned char v : row) {
            sum += v;
        }
        const double mean = sum / row.size();
        for (unsigned char v : row) {
            squares += (v - mean) * (v - mean);
        }
        const float m = RowUtils::calculateMean(row);
        ASSERT_NEAR(m, mean, 1e-4);
        ASSERT_NEAR(RowUtils::calculateStandardDeviation(row), std::sqrt(squares / row.size()),
                    1e-3);
        ASSERT_EQ(RowUtils::calculateStandardDeviation(row), RowUtils::calculateDeviation(row, m));
        ASSERT_EQ(RowUtils::calculateStandardDeviation(row),
                  test::LineReference::standardDeviation(row));
    }
}

// The word-wise reversal of gray lines and runs against std::reverse at
// every length up to a few words, and the chunked sum against a plain one,
// wrapping round 32 bits like it.
TEST(RowUtils, ReverseAndSumMatchPlainLoops) {
    std::mt19937 rng(23);
    for (std::size_t n = 0; n <= 100; ++n) {
        Row row(n);
        Runs runs(n);
        for (std::size_t i = 0; i < n; ++i) {
            row[i] = static_cast<unsigned char>(rng());
            runs[i] = static_cast<short>(rng());
        }
        Row reversed(row.rbegin(), row.rend());
        RowUtils::reverse(row);
        ASSERT_EQ(row, reversed) << n;
        Runs reversedRuns(runs.rbegin(), runs.rend());
        RowUtils::reverse(runs);
        ASSERT_EQ(runs, reversedRuns) << n;
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

} // namespace
} // namespace pdf417
