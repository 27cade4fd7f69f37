#include "pdf417scan/ecc/RS929Corrector.h"
#include "pdf417scan/ecc/G929Polynomial.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace pdf417 {
namespace {

using Word = std::vector<std::uint16_t>;
using test::gf;

// A codeword of n codewords with k check codewords, at the levels' counts
// and any other: random data times (x - 3)(x - 3^2)...(x - 3^k).
Word makeCodeword(std::mt19937& rng, std::size_t n, std::size_t k) {
    std::vector<G929Value> g{gf(1)}, data, word;
    for (std::size_t j = 1; j <= k; ++j) {
        G929Polynomial::mul(g, {gf(1), gf(0) - gf(3).pow(j)}, data);
        g.swap(data);
    }
    data.clear();
    for (std::size_t i = 0; i + k < n; ++i) {
        data.push_back(gf(rng() % 929));
    }
    G929Polynomial::mul(data, g, word);
    Word out;
    for (const G929Value& v : word) {
        out.push_back(v.value());
    }
    return out;
}

bool isCodeword(const Word& word, std::size_t k) {
    std::vector<G929Value> p;
    for (std::uint16_t v : word) {
        p.push_back(gf(v));
    }
    return test::syndromesZero(p, k);
}

// Damages `errors` codewords to other field values and names `erased` more
// indices as erasures (overwritten with anything, kept sometimes), listing
// some of them twice. Returns the erasure list.
std::vector<std::uint32_t> damage(std::mt19937& rng, Word& word, std::size_t errors,
                                  std::size_t erased) {
    std::set<std::size_t> hit;
    std::vector<std::uint32_t> erasures;
    while (hit.size() < errors + erased) {
        const std::size_t i = rng() % word.size();
        if (!hit.insert(i).second) {
            continue;
        }
        if (hit.size() <= errors) {
            word[i] = static_cast<std::uint16_t>((word[i] + 1 + rng() % 928) % 929);
            continue;
        }
        switch (rng() % 3) {
        case 0:
            break; // a codeword that was right all along
        case 1:
            word[i] = static_cast<std::uint16_t>(rng() % 929);
            break;
        default:
            word[i] = static_cast<std::uint16_t>(929 + rng() % (65536 - 929));
        }
        erasures.push_back(static_cast<std::uint32_t>(i));
        if (rng() % 4 == 0) {
            erasures.push_back(static_cast<std::uint32_t>(i));
        }
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
            const std::vector<std::uint32_t> erasures = damage(rng, word, errors, erased);
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

} // namespace
} // namespace pdf417
