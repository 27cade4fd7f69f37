#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/ecc/G929Polynomial.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
using test::gf;
using test::syndromesZero;

// The tables are constants, so no static initialiser anywhere can see them
// unfilled: these checks compile only because the compiler can read them.
static_assert(_ecw0[0].value() == 917 && _ecw0[1].value() == 27, "level 0 as PDF417 lists it");
static_assert(_ecw1[0].value() == 809 && _ecw1[3].value() == 522, "level 1 as PDF417 lists it");
static_assert(_ec[8] == _ecw8.data(), "_ec points at the levels' arrays");

// x^k plus the stored coefficients vanishes exactly at 3^1 .. 3^k, which
// fixes every coefficient of every level; and what the encoder makes of any
// data at any level vanishes there too.
TEST(RS929Encoder, GeneratorRootsAndZeroSyndromes) {
    const G929Value* const arrays[] = {_ecw0.data(), _ecw1.data(), _ecw2.data(),
                                       _ecw3.data(), _ecw4.data(), _ecw5.data(),
                                       _ecw6.data(), _ecw7.data(), _ecw8.data()};
    std::mt19937 rng(5);
    Poly g, roots, data, out;
    for (unsigned level = 0; level < 9; ++level) {
        const std::size_t k = static_cast<std::size_t>(_ecs[level]);
        ASSERT_EQ(k, std::size_t{2} << level);
        ASSERT_EQ(_ec[level], arrays[level]);
        g.assign(1, gf(1));
        g.insert(g.end(), _ec[level], _ec[level] + k);
        ASSERT_TRUE(G929Polynomial::getRoots(g, roots));
        std::vector<unsigned> got, want;
        for (std::size_t i = 0; i < roots.size(); ++i) {
            got.push_back(roots[i].value());
            want.push_back(gf(3).pow(i + 1).value());
        }
        std::sort(want.begin(), want.end());
        EXPECT_EQ(got, want) << "level " << level;

        for (int trial = 0; trial < 4; ++trial) {
            data.clear();
            for (std::size_t n = trial == 0 ? 0 : 1 + rng() % (928 - k); n > 0; --n) {
                data.push_back(gf(rng() % 929));
            }
            ASSERT_TRUE(RS929Encoder::encode(data, out, level));
            ASSERT_EQ(out.size(), data.size() + k);
            EXPECT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
            EXPECT_TRUE(syndromesZero(out, k)) << "level " << level << " n " << data.size();
        }
    }
    out.assign(3, gf(7));
    EXPECT_FALSE(RS929Encoder::encode(data, out, 9));
    EXPECT_EQ(out.size(), 3u);

    // An invalid data codeword spreads into the check codewords.
    ASSERT_TRUE(RS929Encoder::encode({gf(5), gf(929), gf(6)}, out, 1));
    EXPECT_FALSE(out[1].isValid());
    EXPECT_FALSE(out[3].isValid());
}

} // namespace
} // namespace pdf417
