#include "pdf417scan/ecc/RS929Encoder.h"
#include "pdf417scan/ecc/G929Polynomial.h"
#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
using test::gf;

// The tables are constants, so no static initialiser anywhere can see them
// unfilled: these checks compile only because the compiler can read them.
static_assert(_ecw0[0].value() == 917 && _ecw0[1].value() == 27, "level 0 as PDF417 lists it");
static_assert(_ecw1[0].value() == 809 && _ecw1[3].value() == 522, "level 1 as PDF417 lists it");
static_assert(_ec[8] == _ecw8.data(), "_ec points at the levels' arrays");

// x^k plus the stored coefficients vanishes exactly at 3^1 .. 3^k, which
// fixes every coefficient of every level. (That the encoder makes codewords
// every decoder test shows: their words are its.)
TEST(RS929Encoder, GeneratorTablesHaveTheRightRoots) {
    const G929Value* const arrays[] = {_ecw0.data(), _ecw1.data(), _ecw2.data(),
                                       _ecw3.data(), _ecw4.data(), _ecw5.data(),
                                       _ecw6.data(), _ecw7.data(), _ecw8.data()};
    Poly g, roots, out;
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
    }
    out.assign(3, gf(7));
    EXPECT_FALSE(RS929Encoder::encode({gf(1)}, out, 9));
    EXPECT_EQ(out.size(), 3u);
    // Empty data has the zero word; an invalid data codeword spreads into
    // the check codewords.
    ASSERT_TRUE(RS929Encoder::encode({}, out, 0));
    EXPECT_EQ(out, (Poly{gf(0), gf(0)}));
    ASSERT_TRUE(RS929Encoder::encode({gf(5), gf(929), gf(6)}, out, 1));
    EXPECT_FALSE(out[1].isValid() || out[3].isValid());
}

} // namespace
} // namespace pdf417
