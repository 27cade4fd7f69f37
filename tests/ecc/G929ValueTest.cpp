#include "pdf417scan/ecc/G929Value.h"

#include "tests/support/RandomCodewords.h"

#include <gtest/gtest.h>

#include <set>

namespace pdf417 {
namespace {

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

} // namespace
} // namespace pdf417
