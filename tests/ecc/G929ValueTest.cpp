#include "pdf417scan/ecc/G929Value.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace pdf417 {
namespace {

G929Value gf(unsigned v) {
    return G929Value(static_cast<unsigned short>(v));
}

const G929Value BAD = gf(929);

TEST(G929Value, ConstructionClampsToTheInvalidValue) {
    EXPECT_EQ(G929Value().value(), 0);
    EXPECT_EQ(gf(928).value(), 928);
    EXPECT_TRUE(gf(928).isValid());
    for (unsigned v : {929u, 930u, 1000u, 65535u}) {
        EXPECT_FALSE(gf(v).isValid()) << v;
        EXPECT_EQ(gf(v).value(), 929) << v;
    }
}

TEST(G929Value, DocumentedValues) {
    EXPECT_EQ((gf(928) + gf(1)).value(), 0);
    EXPECT_EQ((gf(0) - gf(1)).value(), 928);
    EXPECT_EQ((gf(5) - gf(7)).value(), 927);
    EXPECT_EQ((gf(3) * gf(310)).value(), 1);
    EXPECT_EQ((gf(5) / gf(5)).value(), 1);
    EXPECT_EQ((gf(0) / gf(0)).value(), 0);
    EXPECT_FALSE((gf(7) / gf(0)).isValid());
    EXPECT_FALSE(gf(0).pow(0).isValid());
    EXPECT_EQ(gf(0).pow(5).value(), 0);
    EXPECT_EQ(gf(3).pow(928).value(), 1);
    EXPECT_EQ(gf(3).pow(1).value(), 3);
    EXPECT_FALSE(gf(0).log3().isValid());
    EXPECT_EQ(gf(1).log3().value(), 0);
    EXPECT_EQ(gf(928).log3().value(), 464);
    EXPECT_FALSE(BAD == BAD);
    EXPECT_TRUE(BAD != BAD);

    G929Value a = gf(0);
    a /= gf(0);
    EXPECT_EQ(a.value(), 0);
    a = gf(4);
    a /= gf(0);
    EXPECT_FALSE(a.isValid());
}

// Every element against the field laws, with integer arithmetic as the
// reference where it exists.
TEST(G929Value, FieldLawsOverAllElements) {
    std::set<unsigned> logs;
    for (unsigned a = 0; a < 929; ++a) {
        const G929Value x = gf(a);
        EXPECT_EQ((x + (gf(0) - x)).value(), 0) << a;
        EXPECT_EQ((x * gf(1)).value(), a);
        EXPECT_EQ((x * gf(0)).value(), 0);
        for (unsigned b = 0; b < 929; b += 7) {
            EXPECT_EQ((x + gf(b)).value(), (a + b) % 929);
            EXPECT_EQ((x - gf(b)).value(), (a + 929 - b) % 929);
            EXPECT_EQ((x * gf(b)).value(), a * b % 929);
            if (b != 0) {
                EXPECT_EQ((x / gf(b) * gf(b)).value(), a) << a << " / " << b;
            }
        }
        if (a == 0) {
            continue;
        }
        EXPECT_EQ((x * (gf(1) / x)).value(), 1) << a;
        const G929Value l = x.log3();
        ASSERT_TRUE(l.isValid());
        EXPECT_LT(l.value(), 928);
        logs.insert(l.value());
        EXPECT_EQ(gf(3).pow(l.value()).value(), a);
        // Powers agree with repeated multiplication, exponent 0 included.
        G929Value power = gf(1);
        for (unsigned n = 0; n < 20; ++n) {
            EXPECT_EQ(x.pow(n).value(), power.value()) << a << "^" << n;
            power *= x;
        }
        EXPECT_EQ(x.pow(928).value(), 1);
    }
    EXPECT_EQ(logs.size(), 928u); // 3 generates the whole multiplicative group

    std::mt19937 rng(929);
    for (int i = 0; i < 100000; ++i) {
        const G929Value a = gf(rng() % 929), b = gf(rng() % 929), c = gf(rng() % 929);
        ASSERT_EQ((a * (b + c)).value(), (a * b + a * c).value());
        ASSERT_EQ((a * (b - c)).value(), (a * b - a * c).value());
        ASSERT_EQ(((a * b) * c).value(), (a * (b * c)).value());
    }
}

TEST(G929Value, InvalidAbsorbsEveryOperation) {
    for (unsigned a = 0; a < 929; ++a) {
        const G929Value x = gf(a);
        for (const G929Value r :
             {x + BAD, BAD + x, x - BAD, BAD - x, x * BAD, BAD * x, x / BAD, BAD / x}) {
            EXPECT_FALSE(r.isValid()) << a;
        }
        G929Value y = x;
        y += BAD;
        EXPECT_FALSE(y.isValid());
        y = x;
        y *= BAD;
        EXPECT_FALSE(y.isValid());
        EXPECT_FALSE(x == BAD);
        EXPECT_TRUE(x != BAD);
    }
    EXPECT_FALSE(BAD.pow(0).isValid());
    EXPECT_FALSE(BAD.pow(3).isValid());
    EXPECT_FALSE(BAD.log3().isValid());
}

} // namespace
} // namespace pdf417
