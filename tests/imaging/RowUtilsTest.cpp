#include "pdf417scan/imaging/RowUtils.h"

#include "tests/support/LineReference.h"
#include "tests/support/RandomLines.h"

#include <gtest/gtest.h>

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

TEST(RowUtils, SqueezeExamples) {
    EXPECT_EQ(squeezed({10, 10, 200, 200, 200, 10}, 127), (Runs{-3, 3, -1}));
    EXPECT_EQ(squeezed({10}, 127), Runs{-2});
    EXPECT_EQ(squeezed({200}, 127), Runs{2});
    EXPECT_EQ(squeezed(Row(5, 255), 127), Runs{6});
    EXPECT_EQ(squeezed({127, 126}, 127), (Runs{2, -1})); // equal to threshold is light
    EXPECT_EQ(squeezed({0, 5, 0}, 0), Runs{4});
    EXPECT_EQ(squeezed({254, 255, 0}, 255), (Runs{-2, 1, -1}));
    EXPECT_TRUE(squeezed({}, 127).empty());
}

// On random rows the runs alternate, add up to the length plus one, and
// expand back into the row's dark/light pattern.
TEST(RowUtils, SqueezeRunsDescribeTheRow) {
    std::mt19937 rng(2);
    Runs runs;
    for (int trial = 0; trial < 2000; ++trial) {
        const Row row = randomRow(rng);
        const auto threshold = static_cast<unsigned char>(rng());
        RowUtils::squeeze(row, runs, threshold);
        ASSERT_FALSE(runs.empty());
        long total = 0;
        std::vector<bool> dark;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            ASSERT_NE(runs[i], 0);
            if (i > 0) {
                ASSERT_NE(runs[i] < 0, runs[i - 1] < 0);
            }
            total += std::abs(runs[i]);
            dark.insert(dark.end(), std::abs(runs[i]) - (i == 0 ? 1 : 0), runs[i] < 0);
        }
        ASSERT_EQ(total, long(row.size()) + 1);
        for (std::size_t i = 0; i < row.size(); ++i) {
            ASSERT_EQ(dark[i], row[i] < threshold);
        }
    }
}

// Runs that do not fit in 16 bits saturate but keep their colour, so the
// signs still alternate.
TEST(RowUtils, SqueezeSaturatesLongRuns) {
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
// overflow 16 bits.
TEST(RowUtils, SqueezeMatchesTheReference) {
    std::mt19937 rng(21);
    Runs runs;
    Runs expected;
    for (int trial = 0; trial < 6000; ++trial) {
        const std::size_t n = trial % 10 == 0 ? rng() % 5001 : rng() % 300;
        Row row = test::adversarialLine(rng, n, 1 + rng() % 64);
        unsigned char threshold = static_cast<unsigned char>(rng());
        switch (rng() % 5) {
        case 0:
            threshold = 127; // as on binarised lines
            break;
        case 1:
            threshold = static_cast<unsigned char>(rng() % 2 == 0 ? 0 : 255);
            break;
        case 2:
            if (!row.empty()) { // a threshold equal to some sample
                threshold = row[rng() % row.size()];
            }
            break;
        default:
            break;
        }
        runs.assign(1 + rng() % 9, 5); // stale content must go
        RowUtils::squeeze(row, runs, threshold);
        test::LineReference::squeeze(row, expected, threshold);
        ASSERT_EQ(runs, expected) << "trial " << trial << ", " << n << " samples, threshold "
                                  << int(threshold);
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
    Runs runs = {-5, 2, -1, 6};
    RowUtils::filter(runs, 2);
    EXPECT_EQ(runs, (Runs{-8, 6}));
    runs = {-3, 1, -4};
    RowUtils::filter(runs, 0);
    EXPECT_EQ(runs, (Runs{-3, 1, -4}));
    RowUtils::filter(runs, 1);
    EXPECT_EQ(runs, Runs{-8});
    runs = {1};
    RowUtils::filter(runs, 5);
    EXPECT_EQ(runs, Runs{1});
    runs = {2, -9, 3};
    RowUtils::filter(runs, 5);
    EXPECT_EQ(runs, (Runs{2, -12})); // the short first run keeps its colour
    runs = {4, 0, -1};
    RowUtils::filter(runs, 5);
    EXPECT_EQ(runs, Runs{5}); // a zero is never flipped but merges as light
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

TEST(RowUtils, FindWhiteAndFindBlack) {
    EXPECT_EQ(RowUtils::findWhite({10, 100, 100, 101, 5}, 100), 3u);
    EXPECT_EQ(RowUtils::findWhite({10, 100}, 100), 2u);
    EXPECT_EQ(RowUtils::findWhite({}, 100), 0u);
    EXPECT_EQ(RowUtils::findBlack({200, 100, 99, 250}, 100), 2u);
    EXPECT_EQ(RowUtils::findBlack({200, 100}, 100), 2u);
    EXPECT_EQ(RowUtils::findBlack({}, 100), 0u);
}

TEST(RowUtils, StatisticsMatchDoublePrecision) {
    EXPECT_EQ(RowUtils::calculateMean({}), 0);
    EXPECT_EQ(RowUtils::calculateDeviation({}, 3), 0);
    EXPECT_EQ(RowUtils::calculateStandardDeviation({}), 0);
    EXPECT_EQ(RowUtils::calculateMean({1, 2}), 1.5f);
    EXPECT_EQ(RowUtils::calculateDeviation({1, 3}, 2), 1); // divides by n
    EXPECT_EQ(RowUtils::calculateDeviation({1, 3}, 0), std::sqrt(5.0f));

    std::mt19937 rng(6);
    for (int trial = 0; trial < 500; ++trial) {
        const Row row = randomRow(rng);
        double sum = 0;
        for (unsigned char v : row) {
            sum += v;
        }
        const double mean = sum / row.size();
        double squares = 0;
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

// The word-wise reversal of gray lines against std::reverse at every length
// up to a few words, and the chunked sum against a plain one, wrapping
// round 32 bits like it.
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

TEST(RowUtils, ReverseInPlace) {
    Row odd = {1, 2, 3, 4, 5};
    RowUtils::reverse(odd);
    EXPECT_EQ(odd, (Row{5, 4, 3, 2, 1}));
    Runs even = {-1, 2, -3, 4};
    RowUtils::reverse(even);
    EXPECT_EQ(even, (Runs{4, -3, 2, -1}));
    Row one = {7};
    RowUtils::reverse(one);
    EXPECT_EQ(one, Row{7});
    Row empty;
    RowUtils::reverse(empty);
    EXPECT_TRUE(empty.empty());
}

} // namespace
} // namespace pdf417
