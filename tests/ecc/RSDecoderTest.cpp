#include "pdf417scan/ecc/RSDecoder.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
using test::gf;

std::vector<int> randomCodeword(std::mt19937& rng, unsigned level, std::size_t n) {
    std::vector<int> word;
    for (const G929Value& c : test::randomCodeword(rng, level, n)) {
        word.push_back(c.value());
    }
    return word;
}

// What `work` prints on standard output. A capture costs a file: loops
// capture once around the whole loop.
template <typename Work>
std::string printedBy(Work&& work) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    work();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

int decodeCapturing(RSDecoder& decoder, std::vector<int>& data, std::vector<int>& erasures,
                    int erasureCount, int n, int k, std::string& printed) {
    int result = 0;
    printed = printedBy([&] { result = decoder.eras_dec_rs(data, erasures, erasureCount, n, k); });
    return result;
}

// Changes `count` distinct symbols; returns their locations minus one
// (RS929Decoder's positions: index n - 1 - p).
std::set<int> corrupt(std::mt19937& rng, std::vector<int>& word, std::size_t count) {
    std::set<int> hit;
    const int n = static_cast<int>(word.size());
    while (hit.size() < count) {
        const int p = static_cast<int>(rng() % word.size());
        if (hit.insert(p).second) {
            word[n - 1 - p] = (word[n - 1 - p] + 1 + static_cast<int>(rng() % 928)) % 929;
        }
    }
    return hit;
}

// One codeword of 50 at k = 8 with symbol 10 changed (location 40), under
// arguments of every kind. The word is either corrected or comes back as it
// was, with the result, the printed line and the locations the arguments
// call for.
TEST(RSDecoder, Contract) {
    std::mt19937 rng(1);
    RSDecoder decoder;
    const std::vector<int> original = randomCodeword(rng, 2, 50);
    std::vector<int> damaged = original;
    damaged[10] = (damaged[10] + 7) % 929;
    const std::string noErrors = "No errors \n", wrong = "\n lambda(x) is WRONG\n",
                      lost = "Uncorrectable error: root count = 1 deg lambda = 3 \n";
    const struct {
        const char* what;
        int symbol20; // replaces symbol 20 unless 0
        std::vector<int> erasures;
        int erasureCount, n, k;
        int result;
        std::string printed;
        bool correct = false;
    } cases[] = {
        {"plain", 0, {}, 0, 50, 8, 1, "", true},
        // What would read or write outside data or the working arrays is
        // refused silently; so is a symbol above 929.
        {"a symbol of 930", 930, {}, 0, 50, 8, -1, ""},
        {"a negative symbol", -1, {}, 0, 50, 8, -1, ""},
        {"n past the data", 0, {}, 0, 51, 8, -1, ""},
        {"k past the arrays", 0, {}, 0, 50, 1024, -1, ""},
        {"fewer erasures than counted", 0, {5}, 2, 50, 8, -1, ""},
        {"a negative location", 0, {5, -3}, 2, 50, 8, -1, ""},
        {"more erasures than the arrays", 0, std::vector<int>(1024, 5), 1024, 50, 8, -1, ""},
        // No syndrome at all (k or n of 0 or below) means no error.
        {"k 0", 0, {5}, 1, 50, 0, 0, noErrors},
        {"k negative", 0, {5}, 1, 50, -5, 0, noErrors},
        {"n 0", 0, {5}, 1, 0, 8, 0, noErrors},
        {"n negative", 0, {5}, 1, -3, 8, 0, noErrors},
        // Location u has its locator root at 3^(464 - u), past n + k = 58
        // for 0, 928, 51 and some of 1..9: the locator check fails.
        {"location 0", 0, {0}, 1, 50, 8, -1, wrong},
        {"location 928", 0, {928}, 1, 50, 8, -1, wrong},
        {"location 51", 0, {51}, 1, 50, 8, -1, wrong},
        {"locations 1 to 9", 0, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 9, 50, 8, -1, wrong},
        // A negative count starts the iteration at r = count: the steps up
        // to r = 0 only shift b, and from k of them on the locator stays 1
        // and the word comes back with 0. The lowest counts run bounded.
        {"count -1", 0, {4}, -1, 50, 8, -1, lost},
        {"count -8", 0, {4}, -8, 50, 8, 0, ""},
        {"count -500", 0, {4}, -500, 50, 8, 0, ""},
        {"count INT_MIN + 1", 0, {4}, INT_MIN + 1, 50, 8, 0, ""},
        {"count INT_MIN", 0, {4}, INT_MIN, 50, 8, 0, ""},
    };
    std::string printed;
    for (const auto& c : cases) {
        std::vector<int> data = damaged, erasures = c.erasures;
        data[20] = c.symbol20 == 0 ? data[20] : c.symbol20;
        const std::vector<int> before = data;
        EXPECT_EQ(decodeCapturing(decoder, data, erasures, c.erasureCount, c.n, c.k, printed),
                  c.result)
            << c.what;
        EXPECT_EQ(printed, c.printed) << c.what;
        EXPECT_EQ(data, c.correct ? original : before) << c.what;
        EXPECT_EQ(erasures, c.correct ? std::vector<int>{40} : std::vector<int>{}) << c.what;
    }

    // Erasures are used only past the syndromes: on a correct word not even
    // a location that could index nothing matters.
    std::vector<int> data = original, erasures = {-3};
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 5, 50, 8, printed), 0);
    EXPECT_EQ(printed, noErrors);
    // 929 passes the input check.
    data[7] = 929;
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 0, 50, 8, printed), 1);
    EXPECT_EQ(erasures, std::vector<int>{50 - 7});
}

// Errors alone. RSDecoder tries up to k/2 errors with no spare codeword, so
// it corrects words that RS929Decoder refuses (any single error at levels 0
// and 1); but its iteration loses some patterns well within RS929Decoder's
// capacity.
TEST(RSDecoder, ErrorsComparedWithRS929Decoder) {
    std::mt19937 rng(11);
    RSDecoder decoder;
    RS929Decoder reference;
    std::vector<int> erasures;
    std::vector<unsigned long> positions;
    const std::string singles = printedBy([&] {
        for (unsigned level = 0; level < 9; ++level) {
            const int k = static_cast<int>(_ecs[level]);
            const std::vector<int> original = randomCodeword(rng, level, 900);
            for (int p = 0; p < 900; p += p < 3 || p >= 897 ? 1 : 149) {
                std::vector<int> data = original;
                data[899 - p] = (data[899 - p] + 5) % 929;
                Poly word(data.begin(), data.end());
                ASSERT_EQ(decoder.eras_dec_rs(data, erasures, 0, 900, k), 1) << p;
                ASSERT_EQ(erasures, std::vector<int>{p + 1});
                ASSERT_EQ(data, original);
                positions.clear();
                ASSERT_EQ(reference.decode(word, positions, level), level >= 2);
            }
        }
    });
    EXPECT_EQ(singles, "");

    int tried = 0, exact = 0, lost = 0;
    const std::string printed = printedBy([&] {
        for (int trial = 0; trial < 400; ++trial, ++tried) {
            const unsigned level = 2 + trial % 5;
            const std::size_t k = static_cast<std::size_t>(_ecs[level]);
            const std::size_t n = k + 1 + rng() % 400;
            const std::vector<int> original = randomCodeword(rng, level, n);
            // Within RS929Decoder's capacity.
            std::size_t errors = 1 + rng() % ((k - 2) / 2);
            errors = errors < 4 ? std::min(errors, (k - 3) / 2) : errors;
            std::vector<int> data = original;
            const std::set<int> hit = corrupt(rng, data, errors);
            const int result =
                decoder.eras_dec_rs(data, erasures, 0, static_cast<int>(n), static_cast<int>(k));
            if (data == original) {
                // Every damaged location is reported, sometimes with extra
                // roots of the locator that changed nothing.
                ++exact;
                const std::set<int> got(erasures.begin(), erasures.end());
                ASSERT_EQ(static_cast<int>(got.size()), result);
                for (int p : hit) {
                    ASSERT_TRUE(got.count(p + 1)) << p;
                }
            } else {
                lost += result == -1;
            }
        }
    });
    int messages = 0;
    for (std::size_t at = 0;
         (at = printed.find("Uncorrectable error: root count = ", at)) != std::string::npos; ++at) {
        ++messages;
    }
    EXPECT_EQ(messages, lost);
    EXPECT_GT(exact, tried * 95 / 100);
    EXPECT_GT(lost, 0);
}

// The erasure locator has factors 1 + 3^u x, so its check finds the root of
// location u at 3^i with i = 464 - u (mod 928), and accepts only if every
// such i lies in 1..n + k exactly once. Erasures that pass are corrected;
// the others fail with "lambda(x) is WRONG". RS929Decoder takes them all.
TEST(RSDecoder, ErasuresComparedWithRS929Decoder) {
    std::mt19937 rng(5);
    RSDecoder decoder;
    RS929Decoder reference;
    std::string printed;
    std::vector<int> erasures;
    std::vector<unsigned long> positions;
    const int n = 300, k = 16;
    const std::vector<int> original = randomCodeword(rng, 3, n);
    for (int u = 1; u <= n; ++u) {
        std::vector<int> data = original;
        data[n - u] = (data[n - u] + 100) % 929;
        Poly word(data.begin(), data.end());
        erasures.assign(1, u);
        const int i = (464 - u + 927) % 928 + 1;
        const int result = decodeCapturing(decoder, data, erasures, 1, n, k, printed);
        if (i <= n + k) {
            ASSERT_EQ(result, 1) << u;
            ASSERT_EQ(data, original);
            ASSERT_EQ(erasures, std::vector<int>{u});
        } else {
            ASSERT_EQ(result, -1) << u;
            ASSERT_EQ(printed, "\n lambda(x) is WRONG\n");
        }
        positions.assign(1, static_cast<unsigned long>(u - 1));
        ASSERT_TRUE(reference.decode(word, positions, 3));
    }

    // With n + k = 928 every location passes once: erasures up to k, alone or
    // with errors, are then corrected like RS929Decoder does (errors still
    // subject to the losses above).
    int exact = 0;
    for (int trial = 0; trial < 60; ++trial) {
        const unsigned level = 3 + rng() % 3;
        const int kk = static_cast<int>(_ecs[level]);
        const std::vector<int> word =
            randomCodeword(rng, level, static_cast<std::size_t>(928 - kk));
        std::vector<int> data = word;
        const int count = 1 + static_cast<int>(rng() % static_cast<unsigned>(kk - 2));
        const int errors = trial % 2 == 0 ? 0 : static_cast<int>(rng() % 3);
        const std::set<int> hit = corrupt(rng, data, static_cast<std::size_t>(count + errors));
        erasures.clear();
        for (auto p = hit.begin(); static_cast<int>(erasures.size()) < count; ++p) {
            erasures.push_back(*p + 1);
        }
        const int result = decodeCapturing(decoder, data, erasures, count, 928 - kk, kk, printed);
        if (errors == 0) {
            ASSERT_EQ(result, count);
            ASSERT_EQ(data, word);
        }
        exact += data == word;
    }
    EXPECT_GT(exact, 54);
}

} // namespace
} // namespace pdf417
