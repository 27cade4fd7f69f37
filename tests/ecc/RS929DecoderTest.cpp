#include "pdf417scan/ecc/RS929Decoder.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
using test::gf;
using test::randomCodeword;
using test::syndromesZero;

std::size_t ecCount(unsigned level) {
    return static_cast<std::size_t>(_ecs[level]);
}

const int kTrials[9] = {30, 120, 120, 100, 60, 24, 10, 5, 3};

// Changes `errors` codewords without saying where and gives `erasures` more
// positions as erasures (their codewords overwritten with anything, possibly
// the same value). Returns every damaged position.
std::set<unsigned long> damage(std::mt19937& rng, Poly& word, std::size_t errors,
                               std::size_t erasures, std::vector<unsigned long>& positions) {
    std::set<unsigned long> hit;
    positions.clear();
    while (hit.size() < errors + erasures) {
        const unsigned long p = rng() % word.size();
        if (!hit.insert(p).second) {
            continue;
        }
        G929Value& c = word[word.size() - 1 - p];
        if (hit.size() <= errors) {
            c = gf((c.value() + 1 + rng() % 928) % 929);
        } else {
            c = gf(rng() % 929);
            positions.push_back(p);
        }
    }
    return hit;
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
        const std::size_t k = ecCount(level);
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

} // namespace
} // namespace pdf417
