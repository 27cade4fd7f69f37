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

bool isCodeword(const std::vector<int>& word, std::size_t k) {
    Poly p;
    for (int v : word) {
        p.push_back(gf(static_cast<unsigned>(v)));
    }
    return test::syndromesZero(p, k);
}

// What `work` prints on standard output.
template <typename Work>
std::string printedBy(Work&& work) {
    std::fflush(stdout);
    testing::internal::CaptureStdout();
    work();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// Runs the decoder with standard output captured into `printed`.
int decodeCapturing(RSDecoder& decoder, std::vector<int>& data, std::vector<int>& erasures,
                    int erasureCount, int n, int k, std::string& printed) {
    int result = 0;
    printed = printedBy([&] { result = decoder.eras_dec_rs(data, erasures, erasureCount, n, k); });
    return result;
}

// Changes `count` distinct symbols; returns their positions (index n - 1 - p).
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

TEST(RSDecoder, Contract) {
    std::mt19937 rng(1);
    RSDecoder decoder;
    std::string out;
    const std::vector<int> original = randomCodeword(rng, 2, 50);
    std::vector<int> data = original;
    std::vector<int> erasures = {3, 4}; // erasures on a correct word are dropped
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 2, 50, 8, out), 0);
    EXPECT_EQ(out, "No errors \n");
    EXPECT_TRUE(erasures.empty());
    EXPECT_EQ(data, original);

    // Erasures are used only past the syndromes: on a correct word not even
    // a location that could index nothing matters.
    erasures = {-3};
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 5, 50, 8, out), 0);
    EXPECT_EQ(out, "No errors \n");

    std::vector<int> damaged = original;
    damaged[10] = (damaged[10] + 7) % 929;

    // Refused silently with nothing changed: symbols above 929, and what
    // would read or write outside data or the working arrays.
    struct Refused {
        const char* what;
        int erasureCount, n, k;
        std::vector<int> erasures;
        int symbol;
    };
    const Refused refused[] = {
        {"a symbol of 930", 0, 50, 8, {}, 930},
        {"a negative symbol", 0, 50, 8, {}, -1},
        {"n past the data", 0, 51, 8, {}, 0},
        {"k past the arrays", 0, 50, 1024, {}, 0},
        {"fewer erasures than counted", 2, 50, 8, {5}, 0},
        {"a negative location", 2, 50, 8, {5, -3}, 0},
        {"more erasures than the arrays hold", 1024, 50, 8, std::vector<int>(1024, 5), 0},
    };
    for (const Refused& bad : refused) {
        data = damaged;
        data[20] = bad.symbol == 0 ? data[20] : bad.symbol;
        const std::vector<int> before = data;
        erasures = bad.erasures;
        EXPECT_EQ(decodeCapturing(decoder, data, erasures, bad.erasureCount, bad.n, bad.k, out), -1)
            << bad.what;
        EXPECT_EQ(out, "") << bad.what;
        EXPECT_EQ(data, before) << bad.what;
        EXPECT_TRUE(erasures.empty()) << bad.what;
    }
    std::vector<int> big(2000, 0);
    EXPECT_EQ(decodeCapturing(decoder, big, erasures, 0, 2000, 1024, out), -1);

    // Everything else takes the scheme's course. No syndrome at all (k or n
    // of 0 or below) means no error.
    const int noSyndromes[][2] = {{50, 0}, {50, -5}, {0, 8}, {-3, 8}};
    for (const auto& nk : noSyndromes) {
        data = damaged;
        erasures = {5};
        EXPECT_EQ(decodeCapturing(decoder, data, erasures, 1, nk[0], nk[1], out), 0);
        EXPECT_EQ(out, "No errors \n");
        EXPECT_EQ(data, damaged);
        EXPECT_TRUE(erasures.empty());
    }

    // n below data.size(): the symbols past n are not part of the word.
    data = damaged;
    data.insert(data.end(), {930, -7, 5});
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 0, 50, 8, out), 1);
    EXPECT_EQ(erasures, std::vector<int>{40});
    EXPECT_EQ(std::vector<int>(data.begin(), data.begin() + 50), original);
    EXPECT_EQ(std::vector<int>(data.begin() + 50, data.end()), (std::vector<int>{930, -7, 5}));

    // Location u has its locator root at 3^(464 - u): for 0, 928 (the same
    // power), 51 past the word and any of 1..9 that lies past n + k = 58, so
    // the check of the locator fails, as it does for nine erasures with k = 8.
    const std::vector<int> wrongLocations[] = {{0}, {928}, {51}, {1, 2, 3, 4, 5, 6, 7, 8, 9}};
    for (const std::vector<int>& locations : wrongLocations) {
        data = damaged;
        erasures = locations;
        EXPECT_EQ(decodeCapturing(decoder, data, erasures, static_cast<int>(locations.size()), 50,
                                  8, out),
                  -1);
        EXPECT_EQ(out, "\n lambda(x) is WRONG\n");
        EXPECT_EQ(data, damaged);
        EXPECT_TRUE(erasures.empty());
    }

    // k above n: one wrong symbol in the zero word is still one error.
    data.assign(50, 0);
    data[20] = 77;
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 0, 50, 51, out), 1);
    EXPECT_EQ(erasures, std::vector<int>{30});
    EXPECT_EQ(data, std::vector<int>(50, 0));

    // n so large that i * j would leave int: symbol data[0] is weighted by
    // 3^(i n) = 3^(i (n mod 928)), so it reads as an error at location
    // n mod 928, which is where the correction goes.
    const int huge = 2200001;
    data.assign(huge, 0);
    data[0] = 5;
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 0, huge, 1023, out), 1);
    EXPECT_EQ(erasures, std::vector<int>{huge % 928});
    EXPECT_EQ(data[huge - huge % 928], 924);
    EXPECT_EQ(data[0], 5);
    // 929 passes the input check. The syndromes weigh it like 1 and the
    // correction like 0, so the symbol comes back one below its value.
    data = original;
    data[7] = 929;
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, 0, 50, 8, out), 1);
    EXPECT_EQ(erasures, std::vector<int>{50 - 7});
    EXPECT_EQ(data[7], (original[7] + 928) % 929);
}

// A negative erasureCount skips the erasure steps and starts the iteration
// at r = erasureCount. The steps up to r = 0 only shift b; from k of them on,
// b holds no term the iteration reads, the locator stays 1 and the word comes
// back as it was with 0, silently. The lowest counts run bounded: the same
// outcome, at once.
TEST(RSDecoder, NegativeErasureCount) {
    std::mt19937 rng(4);
    RSDecoder decoder;
    std::string out;
    std::vector<int> erasures;
    const std::vector<int> original = randomCodeword(rng, 2, 50);
    std::vector<int> data = original;
    EXPECT_EQ(decodeCapturing(decoder, data, erasures, -5, 50, 8, out), 0);
    EXPECT_EQ(out, "No errors \n");

    std::vector<int> damaged = original;
    damaged[10] = (damaged[10] + 7) % 929;
    for (const int count : {-8, -9, -10, -500, INT_MIN + 1, INT_MIN}) {
        data = damaged;
        erasures = {4};
        EXPECT_EQ(decodeCapturing(decoder, data, erasures, count, 50, 8, out), 0) << count;
        EXPECT_EQ(out, "") << count;
        EXPECT_EQ(data, damaged) << count;
        EXPECT_TRUE(erasures.empty()) << count;
    }
    // With fewer shifts b still reaches the locator: no longer the same.
    data = damaged;
    EXPECT_NE(decodeCapturing(decoder, data, erasures, -1, 50, 8, out), 0);
}

// Errors alone. Locations are RS929Decoder positions plus one. RSDecoder
// tries up to k/2 errors with no spare codeword, so it corrects words that
// RS929Decoder refuses (any single error at levels 0 and 1); but its
// iteration loses some patterns well within RS929Decoder's capacity, and, not
// checking its result, it can report success on a word that is not a
// codeword.
TEST(RSDecoder, ErrorsComparedWithRS929Decoder) {
    std::mt19937 rng(11);
    RSDecoder decoder;
    RS929Decoder reference;
    std::vector<int> erasures;
    std::vector<unsigned long> positions;
    // Output is captured once per loop: a capture per call costs a file.
    const std::string singles = printedBy([&] {
        for (unsigned level = 0; level < 9; ++level) {
            const int k = static_cast<int>(_ecs[level]);
            const std::vector<int> original = randomCodeword(rng, level, 900);
            for (int p = 0; p < 900; p += p < 3 || p >= 897 ? 1 : 149) {
                std::vector<int> data = original;
                data[899 - p] = (data[899 - p] + 5) % 929;
                ASSERT_EQ(decoder.eras_dec_rs(data, erasures, 0, 900, k), 1) << p;
                ASSERT_EQ(erasures, std::vector<int>{p + 1});
                ASSERT_EQ(data, original);
                Poly word(data.begin(), data.end());
                word[899 - p] = gf((original[899 - p] + 5) % 929);
                positions.clear();
                ASSERT_EQ(reference.decode(word, positions, level), level >= 2);
            }
        }
    });
    EXPECT_EQ(singles, "");

    int tried = 0, exact = 0, extra = 0, lost = 0, wrong = 0;
    const std::string printed = printedBy([&] {
        for (unsigned level = 2; level < 7; ++level) {
            const std::size_t k = static_cast<std::size_t>(_ecs[level]);
            for (int trial = 0; trial < 160; ++trial) {
                const std::size_t n = k + 1 + rng() % 400;
                const std::vector<int> original = randomCodeword(rng, level, n);
                // Within RS929Decoder's capacity.
                std::size_t errors = 1 + rng() % ((k - 2) / 2);
                if (errors < 4) {
                    errors = std::min(errors, (k - 3) / 2);
                }
                std::vector<int> data = original;
                const std::set<int> hit = corrupt(rng, data, errors);
                const int result = decoder.eras_dec_rs(data, erasures, 0, static_cast<int>(n),
                                                       static_cast<int>(k));
                ++tried;
                if (data == original) {
                    ++exact;
                    // Every damaged location is reported, sometimes with extra
                    // roots of the locator that changed nothing.
                    const std::set<int> got(erasures.begin(), erasures.end());
                    ASSERT_EQ(static_cast<int>(got.size()), result);
                    for (int p : hit) {
                        ASSERT_TRUE(got.count(p + 1)) << p;
                    }
                    extra += result - static_cast<int>(errors);
                } else if (result == -1) {
                    ++lost;
                } else {
                    ++wrong;
                }
            }
        }
    });
    int messages = 0;
    for (std::size_t at = 0;
         (at = printed.find("Uncorrectable error: root count = ", at)) != std::string::npos; ++at) {
        ++messages;
    }
    EXPECT_EQ(messages, lost);

    // Past k/2 errors: a positive result does not mean a codeword.
    int accepted = 0, notCodeword = 0;
    printedBy([&] {
        for (int trial = 0; trial < 300; ++trial) {
            const unsigned level = 1 + trial % 4;
            const std::size_t k = static_cast<std::size_t>(_ecs[level]);
            const std::size_t n = k + 1 + rng() % 200;
            std::vector<int> data = randomCodeword(rng, level, n);
            corrupt(rng, data, k / 2 + 1);
            if (decoder.eras_dec_rs(data, erasures, 0, static_cast<int>(n), static_cast<int>(k)) >
                0) {
                ++accepted;
                notCodeword += !isCodeword(data, k);
            }
        }
    });
    std::printf("within capacity: %d of %d corrected (%d extra locations reported), %d refused, "
                "%d wrong; past k/2: %d accepted, %d not codewords\n",
                exact, tried, extra, lost, wrong, accepted, notCodeword);
    EXPECT_GT(exact, tried * 95 / 100);
    EXPECT_GT(lost, 0);
    EXPECT_GT(notCodeword, 0);
}

// The erasure locator has factors 1 + 3^u x, so its check finds the root of
// location u at 3^i with i = 464 - u (mod 928), and accepts only if every
// such i lies in 1..n + k exactly once. Erasures that pass are corrected;
// the others fail with "lambda(x) is WRONG". RS929Decoder takes them all.
TEST(RSDecoder, ErasuresComparedWithRS929Decoder) {
    std::mt19937 rng(5);
    RSDecoder decoder;
    RS929Decoder reference;
    std::string out;
    std::vector<int> erasures;
    std::vector<unsigned long> positions;
    const int n = 300, k = 16;
    const std::vector<int> original = randomCodeword(rng, 3, n);
    for (int u = 1; u <= n; ++u) {
        std::vector<int> data = original;
        data[n - u] = (data[n - u] + 100) % 929;
        erasures.assign(1, u);
        int i = (464 - u + 928) % 928;
        i = i == 0 ? 928 : i;
        const bool passes = i <= n + k;
        const int result = decodeCapturing(decoder, data, erasures, 1, n, k, out);
        if (passes) {
            ASSERT_EQ(result, 1) << u;
            ASSERT_EQ(data, original);
            ASSERT_EQ(erasures, std::vector<int>{u});
        } else {
            ASSERT_EQ(result, -1) << u;
            ASSERT_EQ(out, "\n lambda(x) is WRONG\n");
        }
        Poly word(original.begin(), original.end());
        word[n - u] = gf((original[n - u] + 100) % 929);
        positions.assign(1, static_cast<unsigned long>(u - 1));
        ASSERT_TRUE(reference.decode(word, positions, 3));
    }

    // With n + k = 928 every location passes once: erasures up to k, alone or
    // with errors, are then corrected like RS929Decoder does (errors still
    // subject to the losses above).
    int exact = 0, tried = 0;
    for (int trial = 0; trial < 60; ++trial) {
        const unsigned level = 3 + rng() % 3;
        const int kk = static_cast<int>(_ecs[level]);
        const int nn = 928 - kk;
        const std::vector<int> word = randomCodeword(rng, level, static_cast<std::size_t>(nn));
        std::vector<int> data = word;
        const int count = 1 + static_cast<int>(rng() % static_cast<unsigned>(kk - 2));
        const int errors = trial % 2 == 0 ? 0 : static_cast<int>(rng() % 3);
        const std::set<int> hit = corrupt(rng, data, static_cast<std::size_t>(count + errors));
        erasures.clear();
        for (int p : hit) {
            if (static_cast<int>(erasures.size()) < count) {
                erasures.push_back(p + 1);
            }
        }
        ++tried;
        const int result = decodeCapturing(decoder, data, erasures, count, nn, kk, out);
        if (errors == 0) {
            ASSERT_EQ(result, count);
            ASSERT_EQ(data, word);
        }
        exact += data == word;
    }
    EXPECT_GT(exact, tried * 9 / 10);
}

// Random inputs, mostly nonsense: whatever happens stays inside data, the
// result is -1 or at most k locations, and only reported symbols change.
TEST(RSDecoder, ArbitraryInputStaysInBounds) {
    std::mt19937 rng(23);
    RSDecoder decoder;
    std::vector<int> data, erasures;
    int outcomes[4] = {};
    printedBy([&] {
        for (int trial = 0; trial < 3000; ++trial) {
            const int size = static_cast<int>(rng() % 1100);
            data.resize(static_cast<std::size_t>(size));
            for (int& d : data) {
                d = rng() % 50 == 0 ? static_cast<int>(rng() % 2000000000u) - 1000000000
                                    : static_cast<int>(rng() % 930);
            }
            erasures.clear();
            const int count = static_cast<int>(rng() % 8);
            for (int i = 0; i < count; ++i) {
                erasures.push_back(static_cast<int>(rng() % 1200) - 100);
            }
            int n = rng() % 8 == 0 ? static_cast<int>(rng() % 1200) - 100 : size;
            int k = static_cast<int>(rng() % 1100) - 50;
            int erasureCount = static_cast<int>(rng() % 10) - 1;
            if (trial % 2 == 0 && size > 20) {
                // A damaged codeword with plausible arguments reaches the deeper
                // steps.
                const unsigned level = rng() % 4;
                data = randomCodeword(rng, level, static_cast<std::size_t>(size));
                corrupt(rng, data, rng() % 6);
                n = size;
                k = static_cast<int>(_ecs[level]);
                for (int& e : erasures) {
                    e = 1 + static_cast<int>(rng() % static_cast<unsigned>(size));
                }
                erasureCount = std::min(count, static_cast<int>(rng() % 3));
            }
            const std::vector<int> before = data;
            const int result = decoder.eras_dec_rs(data, erasures, erasureCount, n, k);
            ASSERT_GE(result, -1);
            ASSERT_LE(result, std::max(k, 0));
            ASSERT_EQ(erasures.size(), static_cast<std::size_t>(std::max(result, 0)));
            outcomes[std::min(result, 2) + 1]++;
            // Location l names data[n - l]; nothing past n is part of the word.
            for (int i = 0; i < size; ++i) {
                if (data[i] != before[i]) {
                    ASSERT_LT(i, n);
                    ASSERT_NE(std::find(erasures.begin(), erasures.end(), n - i), erasures.end());
                }
            }
        }
    });
    // The plausible half must have reached the correction steps.
    EXPECT_GT(outcomes[1], 100);
    EXPECT_GT(outcomes[2] + outcomes[3], 300);
}

} // namespace
} // namespace pdf417
