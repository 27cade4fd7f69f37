// The three Reed-Solomon decoders over GF(929): RS929Decoder (the reader's),
// RS929Corrector (to full capacity, by index) and RSDecoder (table-driven,
// exported), on codewords damaged within and beyond capacity.
#include "pdf417scan/ecc/G929Polynomial.h"
#include "pdf417scan/ecc/RS929Corrector.h"
#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/ecc/RSDecoder.h"
#include "tests/support/AllocationCounter.h"
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
using test::randomCodeword;
using test::syndromesZero;

unsigned valueOf(const G929Value& v) {
    return v.value();
}
unsigned valueOf(unsigned v) {
    return v;
}

template <typename T>
std::vector<T> as(const Poly& word) {
    std::vector<T> out;
    for (const G929Value& v : word) {
        out.push_back(static_cast<T>(v.value()));
    }
    return out;
}

// Changes `count` distinct codewords to other field values; returns their
// positions (index n - 1 - p) in the order chosen.
template <typename Word>
std::vector<unsigned long> corrupt(std::mt19937& rng, Word& word, std::size_t count) {
    std::vector<unsigned long> hit;
    while (hit.size() < count) {
        const unsigned long p = rng() % word.size();
        if (std::find(hit.begin(), hit.end(), p) == hit.end()) {
            hit.push_back(p);
            auto& c = word[word.size() - 1 - p];
            c = static_cast<typename Word::value_type>((valueOf(c) + 1 + rng() % 928) % 929);
        }
    }
    return hit;
}

const int kTrials[9] = {30, 120, 120, 100, 60, 24, 10, 5, 3};

// Changes `errors` codewords without saying where and `erasures` more that
// it names as erased. Returns every damaged position.
std::set<unsigned long> damage(std::mt19937& rng, Poly& word, std::size_t errors,
                               std::size_t erasures, std::vector<unsigned long>& positions) {
    const std::vector<unsigned long> hit = corrupt(rng, word, errors + erasures);
    positions.assign(hit.begin() + static_cast<long>(errors), hit.end());
    return std::set<unsigned long>(hit.begin(), hit.end());
}

// The capacity rule: one spare codeword for fewer than four errors.
bool withinCapacity(std::size_t k, std::size_t errors, std::size_t erasures) {
    if (erasures + 2 > k) {
        return false;
    }
    const std::size_t limit = k - (errors < 4 && k > 2 ? 3 : 2);
    return 2 * errors + erasures <= limit;
}

// Within capacity every word comes back with the damaged positions; past it
// the decoder refuses, or returns a word whose syndromes are all zero,
// changed only where it says: a miscorrection into another codeword.
TEST(RS929Decoder, WithinCapacityCorrectsBeyondRefusesOrReturnsACodeword) {
    std::mt19937 rng(2024);
    RS929Decoder decoder;
    std::vector<unsigned long> positions;
    int refused = 0, beyond = 0;
    for (unsigned level = 0; level < 9; ++level) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        for (int trial = 0; trial < 2 * kTrials[level]; ++trial) {
            const std::size_t n = k + 1 + rng() % (928 - k);
            const Poly original = randomCodeword(rng, level, n);
            const bool within = trial % 2 == 0;
            std::size_t errors, erasures;
            do {
                erasures = rng() % (k - 1);
                errors = rng() % ((k - erasures) / 2 + 3);
            } while (withinCapacity(k, errors, erasures) != within || errors + erasures > n);
            Poly word = original;
            const std::set<unsigned long> hit = damage(rng, word, errors, erasures, positions);
            const Poly before = word;
            const bool ok = decoder.decode(word, positions, level);
            const std::set<unsigned long> fixed(positions.begin(), positions.end());
            if (within) {
                ASSERT_TRUE(ok) << "level " << level << " n " << n << " errors " << errors
                                << " erasures " << erasures;
                ASSERT_EQ(word, original);
                ASSERT_EQ(fixed, hit);
                ASSERT_EQ(positions.size(), hit.size());
                continue;
            }
            ++beyond;
            refused += !ok; // a refused word may be altered: it must not be used
            for (std::size_t i = 0; ok && i < n; ++i) {
                ASSERT_TRUE(fixed.count(n - 1 - i) || word[i] == before[i]);
            }
            ASSERT_TRUE(!ok || syndromesZero(word, k));
        }
    }
    EXPECT_GT(refused, beyond * 3 / 4);
}

// The capacity rule's edges, level by level.
TEST(RS929Decoder, DocumentedEdgeCases) {
    std::mt19937 rng(8);
    RS929Decoder decoder;
    std::vector<unsigned long> positions;
    const struct {
        unsigned level;
        std::size_t errors, erasures;
        bool ok;
    } cases[] = {{0, 0, 1, false}, {0, 1, 0, false}, {1, 1, 0, false}, {1, 0, 1, true},
                 {1, 0, 2, false}, {2, 2, 0, true},  {2, 3, 0, false}, {3, 7, 0, true},
                 {3, 8, 0, false}, {3, 1, 10, true}, {2, 0, 7, false}};
    for (int repeat = 0; repeat < 5; ++repeat) {
        for (const auto& c : cases) {
            const Poly original = randomCodeword(rng, c.level, 60);
            Poly word = original;
            damage(rng, word, c.errors, c.erasures, positions);
            const Poly before = word;
            const std::vector<unsigned long> erasuresIn = positions;
            EXPECT_EQ(decoder.decode(word, positions, c.level), c.ok)
                << "level " << c.level << " errors " << c.errors << " erasures " << c.erasures;
            EXPECT_EQ(word, c.ok ? original : before);
            if (!c.ok) {
                EXPECT_EQ(positions, erasuresIn);
            }
        }
    }

    Poly word = randomCodeword(rng, 3, 40);
    const Poly original = word;
    positions.clear();
    EXPECT_TRUE(decoder.decode(word, positions, 3));
    EXPECT_TRUE(positions.empty());
    // An erasure on a correct codeword is reported and leaves it as it was.
    positions.assign(1, 5);
    EXPECT_TRUE(decoder.decode(word, positions, 3));
    EXPECT_EQ(positions, std::vector<unsigned long>{5});
    EXPECT_EQ(word, original);

    // Positions count powers of 3, so they are taken modulo 928; one that
    // then lies past the word fails with the word as it was and no
    // positions. An erased codeword must hold a field value: an invalid one
    // poisons the syndromes.
    for (const unsigned long far : {45ul, 927ul, ULONG_MAX}) {
        positions.assign(1, far);
        EXPECT_FALSE(decoder.decode(word, positions, 3)) << far;
        EXPECT_EQ(word, original);
        EXPECT_TRUE(positions.empty());
    }
    positions.assign(1, 933); // position 5
    EXPECT_TRUE(decoder.decode(word, positions, 3));
    EXPECT_EQ(positions, std::vector<unsigned long>{5});
    word[39] = gf(929);
    positions.assign(1, 0);
    EXPECT_FALSE(decoder.decode(word, positions, 3));

    EXPECT_FALSE(decoder.decode(word, positions, 9));
    // One data codeword is enough; none is not.
    word = randomCodeword(rng, 3, 17);
    word[3] += gf(1);
    positions.clear();
    EXPECT_TRUE(decoder.decode(word, positions, 3));
    word.resize(16);
    EXPECT_FALSE(decoder.decode(word, positions, 3));
}

using Word = std::vector<std::uint16_t>;

// A codeword of n codewords with k check codewords, at the levels' counts
// and any other: random data times (x - 3)(x - 3^2)...(x - 3^k).
Word makeCodeword(std::mt19937& rng, std::size_t n, std::size_t k) {
    Poly g{gf(1)}, data, word;
    for (std::size_t j = 1; j <= k; ++j) {
        G929Polynomial::mul(g, {gf(1), gf(0) - gf(3).pow(j)}, data);
        g.swap(data);
    }
    data.clear();
    for (std::size_t i = 0; i + k < n; ++i) {
        data.push_back(gf(rng() % 929));
    }
    G929Polynomial::mul(data, g, word);
    return as<std::uint16_t>(word);
}

bool isCodeword(const Word& word, std::size_t k) {
    return syndromesZero(Poly(word.begin(), word.end()), k);
}

// Damages `errors` codewords and names `erased` more indices as erasures:
// right all along, wrong, or no field value at all, some listed twice.
// Returns the erasure list.
std::vector<std::uint32_t> damageByIndex(std::mt19937& rng, Word& word, std::size_t errors,
                                         std::size_t erased) {
    const Word before = word;
    const std::vector<unsigned long> hit = corrupt(rng, word, errors + erased);
    std::vector<std::uint32_t> erasures;
    for (std::size_t e = errors; e < hit.size(); ++e) {
        const auto i = static_cast<std::uint32_t>(word.size() - 1 - hit[e]);
        const unsigned kind = rng() % 3;
        word[i] = kind == 0   ? before[i]
                  : kind == 1 ? word[i]
                              : static_cast<std::uint16_t>(929 + rng() % 64607);
        erasures.insert(erasures.end(), rng() % 4 == 0 ? 2 : 1, i);
    }
    std::shuffle(erasures.begin(), erasures.end(), rng);
    return erasures;
}

// Any 2e + f <= k comes back as the original codeword with the right counts,
// at every level, at other check-codeword counts, at many lengths; and after
// the first word of a size no call allocates. Past capacity (the last two
// rounds: errors alone, or beside erasures, one to three past) the word comes
// back untouched with a refusal, or as a codeword that the counts describe
// and that lies within capacity of the damaged word.
TEST(RS929Corrector, WithinCapacityCorrectsBeyondRefusesOrLandsNear) {
    std::mt19937 rng(929);
    RS929Corrector corrector;
    RS929Corrector::Result result;
    const std::size_t odd[] = {1, 3, 5, 12, 100, 333, 927};
    int refused = 0, beyond = 0;
    for (int trial = 0; trial < 240; ++trial) {
        const std::size_t k = trial % 4 == 3 ? odd[rng() % 7] : _ecs[trial % 9];
        const std::size_t n = trial % 10 == 0 ? 928 : k + 1 + rng() % (928 - k);
        const Word original = makeCodeword(rng, n, k);
        for (int round = 0; round < 8; ++round) {
            std::size_t erased = rng() % (k + 1);
            std::size_t errors = rng() % ((k - erased) / 2 + 1);
            if (round == 0) {
                erased = 0; // the errors alone, up to the full k/2
                errors = k / 2;
            } else if (round >= 6) {
                erased = round == 6 ? 0 : 2 * (rng() % (k / 2 + 1));
                errors = (k - erased) / 2 + 1 + rng() % 3;
            }
            errors = std::min(errors, n - std::min(n, erased));
            Word word = original;
            const std::vector<std::uint32_t> erasures = damageByIndex(rng, word, errors, erased);
            const Word damaged = word;
            result.errors = result.erasures = 99;
            bool ok = false;
            const long allocated =
                test::allocationsDuring([&] { ok = corrector.correct(word, k, erasures, result); });
            if (round < 6) {
                ASSERT_TRUE(ok) << "n " << n << " k " << k << " errors " << errors << " erased "
                                << erased;
                // The first call grows the buffers (which shows the count
                // works); no call on a size seen before allocates.
                ASSERT_TRUE(round > 0 ? allocated == 0 : trial > 0 || allocated > 0) << n;
                ASSERT_EQ(word, original);
                ASSERT_EQ(result.errors, errors);
                ASSERT_EQ(result.erasures, erased);
                continue;
            }
            ++beyond;
            if (!ok) {
                ++refused;
                ASSERT_EQ(word, damaged);
                ASSERT_EQ(result.errors + result.erasures, 0u);
                continue;
            }
            ASSERT_TRUE(isCodeword(word, k));
            const std::set<std::uint32_t> named(erasures.begin(), erasures.end());
            std::size_t changed = 0;
            for (std::size_t i = 0; i < n; ++i) {
                changed += !named.count(static_cast<std::uint32_t>(i)) && word[i] != damaged[i];
            }
            ASSERT_EQ(result.errors, changed);
            ASSERT_EQ(result.erasures, named.size());
            ASSERT_LE(2 * changed + named.size(), k);
        }
    }
    EXPECT_GT(refused, beyond * 3 / 4);
}

TEST(RS929Corrector, RefusesWhatIsNotAWord) {
    std::mt19937 rng(3);
    RS929Corrector corrector;
    const Word original = makeCodeword(rng, 40, 8);
    struct Case {
        const char* what;
        std::size_t size;
        std::size_t ecCount;
        std::size_t badIndex; // gets 929 + extra unless it is 40 or more
        std::uint16_t extra;
        std::vector<std::uint32_t> erasures;
    };
    const Case cases[] = {
        {"empty word", 0, 1, 99, 0, {}},
        {"no check codewords", 40, 0, 99, 0, {}},
        {"no data codeword", 40, 40, 99, 0, {}},
        {"more check codewords than codewords", 40, 41, 99, 0, {}},
        {"more than 928 codewords", 929, 8, 99, 0, {}},
        {"a value of 929", 40, 8, 17, 0, {}},
        {"a value of 65535", 40, 8, 0, 64606, {3}},
        {"an erasure past the end", 40, 8, 99, 0, {3, 40}},
        {"an erasure far past the end", 40, 8, 99, 0, {0xffffffffu}},
        {"more erasures than check codewords", 40, 8, 99, 0, {0, 1, 2, 3, 4, 5, 6, 7, 7, 8}},
    };
    for (const Case& c : cases) {
        Word word = original;
        word.resize(c.size, 5);
        if (c.badIndex < word.size()) {
            word[c.badIndex] = static_cast<std::uint16_t>(929 + c.extra);
        }
        const Word before = word;
        RS929Corrector::Result result{7, 7};
        EXPECT_FALSE(corrector.correct(word, c.ecCount, c.erasures, result)) << c.what;
        EXPECT_EQ(word, before) << c.what;
        EXPECT_EQ(result.errors + result.erasures, 0u) << c.what;
    }
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

// One codeword of 50 at k = 8 with symbol 10 changed (location 40), under
// arguments of every kind. The word is either corrected or comes back as it
// was, with the result, the printed line and the locations the arguments
// call for.
TEST(RSDecoder, Contract) {
    std::mt19937 rng(1);
    RSDecoder decoder;
    const std::vector<int> original = as<int>(randomCodeword(rng, 2, 50));
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
        {"a negative first location", 0, {-3, 5}, 2, 50, 8, -1, ""},
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
            const std::vector<int> original = as<int>(randomCodeword(rng, level, 900));
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
            const std::vector<int> original = as<int>(randomCodeword(rng, level, n));
            // Within RS929Decoder's capacity.
            std::size_t errors = 1 + rng() % ((k - 2) / 2);
            errors = errors < 4 ? std::min(errors, (k - 3) / 2) : errors;
            std::vector<int> data = original;
            const std::vector<unsigned long> hit = corrupt(rng, data, errors);
            const int result =
                decoder.eras_dec_rs(data, erasures, 0, static_cast<int>(n), static_cast<int>(k));
            if (data == original) {
                // Every damaged location is reported, sometimes with extra
                // roots of the locator that changed nothing.
                ++exact;
                const std::set<int> got(erasures.begin(), erasures.end());
                ASSERT_EQ(static_cast<int>(got.size()), result);
                for (unsigned long p : hit) {
                    ASSERT_TRUE(got.count(static_cast<int>(p) + 1)) << p;
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
    const std::vector<int> original = as<int>(randomCodeword(rng, 3, n));
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
            as<int>(randomCodeword(rng, level, static_cast<std::size_t>(928 - kk)));
        std::vector<int> data = word;
        const int count = 1 + static_cast<int>(rng() % static_cast<unsigned>(kk - 2));
        const int errors = trial % 2 == 0 ? 0 : static_cast<int>(rng() % 3);
        const std::vector<unsigned long> hit =
            corrupt(rng, data, static_cast<std::size_t>(count + errors));
        erasures.clear();
        for (auto p = hit.begin(); static_cast<int>(erasures.size()) < count; ++p) {
            erasures.push_back(static_cast<int>(*p) + 1);
        }
        const int result = decodeCapturing(decoder, data, erasures, count, 928 - kk, kk, printed);
        if (errors == 0) {
            ASSERT_EQ(result, count);
            ASSERT_EQ(data, word);
        }
        exact += data == word;
    }
    EXPECT_GT(exact, 54);

    // Two erasures 464 apart (3^464 = -1) give a locator without its x term,
    // whose zero coefficient the first correction step must carry over.
    const int len = 928 - 16;
    for (int trial = 0; trial < 8; ++trial) {
        const std::vector<int> word = as<int>(randomCodeword(rng, 3, len));
        std::vector<int> data = word;
        const int u = 1 + static_cast<int>(rng() % 400);
        erasures = {u, u + 464};
        int error = 0;
        do {
            error = static_cast<int>(rng() % len);
        } while (error == len - u || error == len - u - 464);
        for (const int p : {len - u, len - u - 464, error}) {
            data[static_cast<std::size_t>(p)] = (data[static_cast<std::size_t>(p)] + 7) % 929;
        }
        ASSERT_EQ(decodeCapturing(decoder, data, erasures, 2, len, 16, printed), 3) << u;
        ASSERT_EQ(data, word) << u;
    }
}

} // namespace
} // namespace pdf417
