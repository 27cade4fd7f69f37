#include "pdf417scan/ecc/G929Polynomial.h"

#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
namespace GP = G929Polynomial;
using test::gf;

Poly poly(std::initializer_list<unsigned> values) {
    Poly p;
    for (unsigned v : values) {
        p.push_back(gf(v));
    }
    return p;
}

std::vector<unsigned> raw(const Poly& p) {
    std::vector<unsigned> v;
    for (const G929Value& c : p) {
        v.push_back(c.value());
    }
    return v;
}

Poly randomPoly(std::mt19937& rng, std::size_t size) {
    Poly p;
    for (std::size_t i = 0; i < size; ++i) {
        p.push_back(gf(rng() % 929));
    }
    if (p[0].value() == 0) {
        p[0] = gf(1);
    }
    return p;
}

// Edges the random laws below never reach: empty operands, evaluation at 0,
// leading zeros, zero divisors and invalid coefficients.
TEST(G929Polynomial, EdgeCases) {
    Poly out, q, r;
    GP::sub(poly({5}), poly({1, 2}), out);
    EXPECT_EQ(raw(out), raw(poly({928, 3})));
    GP::mul(poly({}), poly({1}), out);
    EXPECT_TRUE(out.empty());

    EXPECT_FALSE(GP::calc(poly({7}), gf(0)).isValid());
    EXPECT_FALSE(GP::calc(poly({}), gf(5)).isValid());
    EXPECT_TRUE(GP::getRoots(poly({1, 0}), out)); // x: its root 0 is never reported
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(GP::getRoots(poly({}), out));

    EXPECT_TRUE(GP::equal(poly({0, 0, 4}), poly({4})));
    EXPECT_FALSE(GP::equal(poly({4}), poly({4, 0})));
    EXPECT_TRUE(GP::equal(poly({}), poly({0, 0})));
    EXPECT_FALSE(GP::equal(poly({1, 929}), poly({1, 929})));

    EXPECT_FALSE(GP::div(poly({1, 2}), poly({0, 0}), q, r));
    EXPECT_TRUE(GP::div(poly({0, 0}), poly({1, 2}), q, r));
    EXPECT_TRUE(q.empty() && r.empty());
    // Leading zeros of the dividend do not lengthen the loop.
    EXPECT_TRUE(GP::div(poly({0, 0, 0, 1, 0, 928}), poly({1, 928}), q, r));
    EXPECT_EQ(raw(q), raw(poly({1, 1})));
    EXPECT_TRUE(r.empty());

    GP::mul(poly({929, 1}), poly({1, 1}), out);
    EXPECT_EQ(raw(out), raw(poly({929, 929, 1})));
    EXPECT_FALSE(GP::calc(poly({1, 929, 1}), gf(2)).isValid());
    EXPECT_TRUE(GP::getRoots(poly({1, 929}), out));
    EXPECT_TRUE(out.empty());
}

// The operations against each other: evaluation is a ring homomorphism,
// division undoes multiplication, and a = quotient * b - remainder.
TEST(G929Polynomial, OperationsAgreeWithEachOther) {
    std::mt19937 rng(17);
    Poly sum, diff, prod, back, q, r, check;
    for (int trial = 0; trial < 300; ++trial) {
        const Poly a = randomPoly(rng, 1 + rng() % 12);
        const Poly b = randomPoly(rng, 1 + rng() % 6);
        GP::add(a, b, sum);
        GP::sub(a, b, diff);
        GP::mul(a, b, prod);
        ASSERT_EQ(sum.size(), std::max(a.size(), b.size()));
        ASSERT_EQ(diff.size(), sum.size());
        ASSERT_EQ(prod.size(), a.size() + b.size() - 1);
        for (unsigned x = 1; x < 929; x += 37) {
            const G929Value va = GP::calc(a, gf(x)), vb = GP::calc(b, gf(x));
            ASSERT_EQ(GP::calc(sum, gf(x)).value(), (va + vb).value());
            ASSERT_EQ(GP::calc(diff, gf(x)).value(), (va - vb).value());
            ASSERT_EQ(GP::calc(prod, gf(x)).value(), (va * vb).value());
        }
        GP::sub(sum, b, back);
        ASSERT_TRUE(GP::equal(back, a));

        ASSERT_TRUE(GP::div(prod, b, q, r));
        ASSERT_TRUE(GP::equal(q, a));
        ASSERT_TRUE(r.empty());

        ASSERT_TRUE(GP::div(a, b, q, r));
        ASSERT_LT(r.size(), b.size());
        GP::mul(q, b, prod);
        GP::sub(prod, r, check);
        ASSERT_TRUE(GP::equal(check, a)) << "trial " << trial;

        GP::copy(a, check);
        GP::mul(check, gf(5));
        GP::mul(a, gf(5), back);
        ASSERT_EQ(raw(check), raw(back));
        ASSERT_EQ(GP::calc(back, gf(2)).value(), (GP::calc(a, gf(2)) * gf(5)).value());
    }
}

} // namespace
} // namespace pdf417
