// GF(929): its elements, polynomials over it, and the generator tables of the
// Reed-Solomon code.
#include "pdf417scan/ecc/G929Polynomial.h"
#include "pdf417scan/ecc/G929Value.h"
#include "pdf417scan/ecc/RS929Encoder.h"
#include "tests/support/RandomCodewords.h"

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
using test::gf;

const G929Value BAD = gf(929);

// The cases the field laws below do not reach: clamping, the invalid marker,
// and the deliberate 0 / 0 = 0 and 0^0 = invalid.
TEST(G929Value, ClampingAndSpecialCases) {
    EXPECT_EQ(G929Value().value(), 0);
    for (unsigned v : {929u, 930u, 1000u, 65535u}) {
        EXPECT_EQ(gf(v).value(), 929) << v;
    }
    EXPECT_EQ((gf(0) / gf(0)).value(), 0);
    EXPECT_FALSE((gf(7) / gf(0)).isValid());
    EXPECT_FALSE(gf(0).pow(0).isValid());
    EXPECT_EQ(gf(0).pow(5).value(), 0);
    EXPECT_FALSE(gf(0).log3().isValid());
    G929Value a = gf(0);
    a /= gf(0);
    EXPECT_EQ(a.value(), 0);
    a = gf(4);
    a /= gf(0);
    EXPECT_FALSE(a.isValid());

    // The invalid marker absorbs every operation and equals nothing.
    EXPECT_FALSE(BAD == BAD);
    EXPECT_FALSE(BAD.pow(0).isValid() || BAD.pow(3).isValid() || BAD.log3().isValid());
    for (unsigned v = 0; v < 929; ++v) {
        const G929Value x = gf(v);
        G929Value sum = x, product = x;
        sum += BAD;
        product *= BAD;
        for (const G929Value r : {x + BAD, BAD + x, x - BAD, BAD - x, x * BAD, BAD * x, x / BAD,
                                  BAD / x, sum, product}) {
            ASSERT_FALSE(r.isValid()) << v;
        }
        ASSERT_TRUE(x != BAD && !(x == BAD));
    }
}

// Every pair of elements against integer arithmetic modulo 929, which
// carries the ring laws with it; division undoes multiplication, 3 generates
// the multiplicative group and powers agree with repeated multiplication.
TEST(G929Value, FieldLawsOverAllElements) {
    std::set<unsigned> logs;
    for (unsigned a = 0; a < 929; ++a) {
        const G929Value x = gf(a);
        for (unsigned b = 0; b < 929; ++b) {
            const G929Value y = gf(b);
            ASSERT_EQ((x + y).value(), (a + b) % 929);
            ASSERT_EQ((x - y).value(), (a + 929 - b) % 929);
            ASSERT_EQ((x * y).value(), a * b % 929);
            ASSERT_TRUE(b == 0 || (x / y * y).value() == a) << a << " / " << b;
        }
        if (a == 0) {
            continue;
        }
        const G929Value l = x.log3();
        ASSERT_TRUE(l.isValid() && l.value() < 928);
        logs.insert(l.value());
        EXPECT_EQ(gf(3).pow(l.value()).value(), a);
        G929Value power = gf(1);
        for (unsigned n = 0; n < 20; ++n) {
            EXPECT_EQ(x.pow(n).value(), power.value()) << a << "^" << n;
            power *= x;
        }
        EXPECT_EQ(x.pow(928).value(), 1);
    }
    EXPECT_EQ(logs.size(), 928u);
}

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
