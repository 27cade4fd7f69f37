#include "pdf417scan/ecc/G929Polynomial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <set>
#include <vector>

namespace pdf417 {
namespace {

using Poly = std::vector<G929Value>;
namespace GP = G929Polynomial;

Poly poly(std::initializer_list<unsigned> values) {
    Poly p;
    for (unsigned v : values) {
        p.push_back(G929Value(static_cast<unsigned short>(v)));
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

Poly randomPoly(std::mt19937& rng, std::size_t size, bool nonZeroLead) {
    Poly p;
    for (std::size_t i = 0; i < size; ++i) {
        p.push_back(G929Value(static_cast<unsigned short>(rng() % 929)));
    }
    if (nonZeroLead && !p.empty() && p[0].value() == 0) {
        p[0] = G929Value(1);
    }
    return p;
}

TEST(G929Polynomial, DocumentedValues) {
    Poly out, q, r;
    GP::add(poly({1, 2, 3}), poly({5}), out);
    EXPECT_EQ(raw(out), raw(poly({1, 2, 8})));
    GP::sub(poly({5}), poly({1, 2}), out);
    EXPECT_EQ(raw(out), raw(poly({928, 3})));
    GP::sub(poly({1, 2}), poly({5}), out);
    EXPECT_EQ(raw(out), raw(poly({1, 926})));
    GP::mul(poly({1, 1}), poly({1, 928}), out);
    EXPECT_EQ(raw(out), raw(poly({1, 0, 928})));
    GP::mul(poly({}), poly({1}), out);
    EXPECT_TRUE(out.empty());

    EXPECT_EQ(GP::calc(poly({1, 0}), G929Value(5)).value(), 5);
    EXPECT_EQ(GP::calc(poly({7}), G929Value(5)).value(), 7);
    EXPECT_FALSE(GP::calc(poly({7}), G929Value(0)).isValid());
    EXPECT_FALSE(GP::calc(poly({}), G929Value(5)).isValid());

    EXPECT_TRUE(GP::getRoots(poly({1, 928}), out));
    EXPECT_EQ(raw(out), raw(poly({1})));
    EXPECT_TRUE(GP::getRoots(poly({1, 0}), out)); // x: its root 0 is never reported
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(GP::getRoots(poly({}), out));

    EXPECT_TRUE(GP::equal(poly({0, 0, 4}), poly({4})));
    EXPECT_FALSE(GP::equal(poly({4}), poly({4, 0})));
    EXPECT_TRUE(GP::equal(poly({}), poly({0, 0})));
    EXPECT_FALSE(GP::equal(poly({1, 929}), poly({1, 929})));

    EXPECT_TRUE(GP::div(poly({1, 0, 928}), poly({1, 928}), q, r));
    EXPECT_EQ(raw(q), raw(poly({1, 1})));
    EXPECT_TRUE(r.empty());
    EXPECT_FALSE(GP::div(poly({1, 2}), poly({0, 0}), q, r));
    EXPECT_TRUE(GP::div(poly({0, 0}), poly({1, 2}), q, r));
    EXPECT_TRUE(q.empty() && r.empty());
    // Leading zeros of the dividend do not lengthen the loop.
    EXPECT_TRUE(GP::div(poly({0, 0, 0, 1, 0, 928}), poly({1, 928}), q, r));
    EXPECT_EQ(raw(q), raw(poly({1, 1})));
    EXPECT_TRUE(r.empty());
}

// The operations against each other: evaluation is a ring homomorphism,
// division undoes multiplication, and a = quotient * b - remainder.
TEST(G929Polynomial, OperationsAgreeWithEachOther) {
    std::mt19937 rng(17);
    Poly sum, diff, prod, back, q, r, check;
    for (int trial = 0; trial < 300; ++trial) {
        const Poly a = randomPoly(rng, 1 + rng() % 12, true);
        const Poly b = randomPoly(rng, 1 + rng() % 6, true);
        GP::add(a, b, sum);
        GP::sub(a, b, diff);
        GP::mul(a, b, prod);
        ASSERT_EQ(sum.size(), std::max(a.size(), b.size()));
        ASSERT_EQ(prod.size(), a.size() + b.size() - 1);
        for (unsigned x = 1; x < 929; x += 37) {
            const G929Value va = GP::calc(a, G929Value(x)), vb = GP::calc(b, G929Value(x));
            ASSERT_EQ(GP::calc(sum, G929Value(x)).value(), (va + vb).value());
            ASSERT_EQ(GP::calc(diff, G929Value(x)).value(), (va - vb).value());
            ASSERT_EQ(GP::calc(prod, G929Value(x)).value(), (va * vb).value());
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
        GP::mul(check, G929Value(5));
        GP::mul(a, G929Value(5), back);
        ASSERT_EQ(raw(check), raw(back));
    }
}

TEST(G929Polynomial, RootsOfProductsOfLinearFactors) {
    std::mt19937 rng(3);
    Poly p, factor, next, roots;
    for (int trial = 0; trial < 40; ++trial) {
        std::set<unsigned> want;
        p = poly({1 + static_cast<unsigned>(rng() % 928)}); // a non-zero constant
        const std::size_t degree = 1 + rng() % 12;
        bool zeroRoot = false;
        for (std::size_t i = 0; i < degree; ++i) {
            const unsigned root = rng() % 929;
            zeroRoot = zeroRoot || root == 0;
            if (root != 0) {
                want.insert(root);
            }
            factor = poly({1, (929 - root) % 929});
            GP::mul(p, factor, next);
            p.swap(next);
        }
        ASSERT_TRUE(GP::getRoots(p, roots));
        ASSERT_EQ(raw(roots), std::vector<unsigned>(want.begin(), want.end()))
            << "zero root: " << zeroRoot;
    }
}

TEST(G929Polynomial, InvalidCoefficientsPoisonResults) {
    Poly out;
    GP::mul(poly({929, 1}), poly({1, 1}), out);
    EXPECT_FALSE(out[0].isValid());
    EXPECT_FALSE(out[1].isValid());
    EXPECT_TRUE(out[2].isValid());
    EXPECT_FALSE(GP::calc(poly({1, 929, 1}), G929Value(2)).isValid());
    EXPECT_TRUE(GP::getRoots(poly({1, 929}), out));
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace pdf417
