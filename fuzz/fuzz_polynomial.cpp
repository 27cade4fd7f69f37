// G929Polynomial operations on arbitrary polynomials, div included. Inputs:
// a point x and a scalar s (16 bits each), then the polynomials p, q, m and r
// and a root list, each a length byte and 16-bit entries (coefficients 929
// and 930 stand for the invalid value). Whatever the coefficients, nothing
// may crash; when all are valid the results must obey the algebra.
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "pdf417scan/ecc/G929Polynomial.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

using pdf417::G929Value;
using pdf417::fuzz::check;
namespace poly = pdf417::G929Polynomial;
using Poly = std::vector<G929Value>;

namespace {

const G929Value ZERO;

G929Value coefficient(std::uint16_t raw) {
    return G929Value(static_cast<unsigned short>(raw % 931));
}

Poly readPoly(pdf417::fuzz::FuzzInput& in, unsigned maxLength) {
    Poly p(in.u8() % (maxLength + 1));
    for (G929Value& c : p) {
        c = coefficient(in.u16());
    }
    return p;
}

bool allValid(const Poly& p) {
    return std::all_of(p.begin(), p.end(), [](G929Value c) { return c.isValid(); });
}

bool isZero(const Poly& p) {
    return std::all_of(p.begin(), p.end(), [](G929Value c) { return c == ZERO; });
}

// Length without leading zeros.
std::size_t trimmedSize(const Poly& p) {
    const auto first = std::find_if(p.begin(), p.end(), [](G929Value c) { return c != ZERO; });
    return static_cast<std::size_t>(p.end() - first);
}

bool sameValues(const Poly& a, const Poly& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](G929Value x, G929Value y) { return x.value() == y.value(); });
}

void checkSumsAndProducts(const Poly& p, const Poly& q, G929Value x, G929Value s) {
    const bool valid = allValid(p) && allValid(q);
    Poly sum, difference, back, other, product;
    poly::add(p, q, sum);
    poly::sub(p, q, difference);
    check(sum.size() == std::max(p.size(), q.size()) && difference.size() == sum.size(),
          "a sum or difference has the wrong length");
    poly::mul(p, q, product);
    check(product.size() == (p.empty() || q.empty() ? 0 : p.size() + q.size() - 1),
          "a product has the wrong length");
    if (valid) {
        poly::sub(sum, q, back);
        check(poly::equal(back, p), "(p + q) - q is not p");
        poly::add(q, p, other);
        check(poly::equal(other, sum), "p + q is not q + p");
        poly::add(difference, q, back);
        check(poly::equal(back, p), "(p - q) + q is not p");
        if (!p.empty() && !q.empty() && x.isValid() && x != ZERO) {
            check(poly::calc(product, x) == poly::calc(p, x) * poly::calc(q, x),
                  "(pq)(x) is not p(x) q(x)");
        }
    }

    Poly scaled, inPlace = p;
    poly::mul(p, s, scaled);
    poly::mul(inPlace, s);
    check(sameValues(scaled, inPlace), "scaling in place and into a copy differ");

    if (!p.empty()) {
        check(!poly::calc(p, ZERO).isValid(), "p(0) has a value");
        if (!allValid(p)) {
            check(!poly::calc(p, x).isValid(), "an invalid coefficient did not propagate");
        }
    }
    check(!poly::calc(Poly(), x).isValid(), "the empty polynomial has a value");

    Poly copied;
    poly::copy(p, copied);
    check(sameValues(copied, p), "a copy differs");
    check(poly::equal(p, p) == allValid(p), "equal is not reflexive exactly on valid polynomials");
}

void checkDivision(const Poly& a, const Poly& b) {
    Poly quotient, remainder;
    quotient.resize(2);
    remainder.resize(3);
    const bool ok = poly::div(a, b, quotient, remainder);
    if (isZero(a) && allValid(a)) {
        check(ok && quotient.empty() && remainder.empty(), "0 / b is not empty");
        return;
    }
    if (isZero(b) && allValid(b) && allValid(a)) {
        check(!ok, "division by zero succeeded");
        return;
    }
    if (!allValid(a) || !allValid(b)) {
        return; // only crashes matter here
    }
    check(ok, "a division by a non-zero polynomial failed");
    check(remainder.size() < trimmedSize(b), "the remainder is not smaller than the divisor");
    check(remainder.empty() || remainder.front() != ZERO, "the remainder has leading zeros");
    // The remainder comes back negated: a = quotient * b - remainder.
    Poly product, back;
    poly::mul(quotient, b, product);
    poly::sub(product, remainder, back);
    check(poly::equal(back, a), "quotient * b - remainder is not a");
}

// a = q m + r with r shorter than q: div must give back m and -r.
void checkKnownDivision(const Poly& q, const Poly& m, Poly r) {
    if (!allValid(q) || !allValid(m) || !allValid(r) || isZero(q) || m.empty()) {
        return;
    }
    const std::size_t divisorLength = trimmedSize(q);
    if (r.size() >= divisorLength) {
        r.erase(r.begin(), r.end() - static_cast<std::ptrdiff_t>(divisorLength - 1));
    }
    Poly qm, a, quotient, remainder, negated;
    poly::mul(q, m, qm);
    poly::add(qm, r, a);
    if (isZero(a)) {
        return;
    }
    check(poly::div(a, q, quotient, remainder), "a known division failed");
    check(poly::equal(quotient, m), "a known division gave the wrong quotient");
    poly::sub(Poly(), r, negated);
    check(poly::equal(remainder, negated), "a known division gave the wrong remainder");
}

void checkRoots(const Poly& p) {
    Poly roots;
    const bool ok = poly::getRoots(p, roots);
    check(ok == !p.empty(), "getRoots' verdict is wrong");
    for (std::size_t i = 0; i < roots.size(); ++i) {
        check(roots[i] != ZERO && poly::calc(p, roots[i]) == ZERO, "a root is not a root");
        check(i == 0 || roots[i - 1].value() < roots[i].value(), "roots are not increasing");
    }
    if (allValid(p) && !isZero(p)) {
        check(roots.size() + 1 <= trimmedSize(p), "more roots than the degree");
    }
}

// The product of (x - a) over a list has exactly the non-zero a as roots.
void checkRootsOfProduct(const std::vector<G929Value>& zeros) {
    Poly product{G929Value(1)}, factor, next;
    std::vector<unsigned> expected;
    for (G929Value a : zeros) {
        factor = {G929Value(1), ZERO - a};
        poly::mul(product, factor, next);
        product.swap(next);
        if (a != ZERO) {
            expected.push_back(a.value());
        }
    }
    std::sort(expected.begin(), expected.end());
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
    Poly roots;
    poly::getRoots(product, roots);
    check(roots.size() == expected.size() &&
              std::equal(roots.begin(), roots.end(), expected.begin(),
                         [](G929Value r, unsigned v) { return r.value() == v; }),
          "the roots of a product of linear factors are wrong");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pdf417::fuzz::FuzzInput in(data, size);
    const G929Value x = coefficient(in.u16());
    const G929Value s = coefficient(in.u16());
    const Poly p = readPoly(in, 48);
    const Poly q = readPoly(in, 48);
    const Poly m = readPoly(in, 32);
    const Poly r = readPoly(in, 32);
    std::vector<G929Value> zeros(in.u8() % 13);
    for (G929Value& z : zeros) {
        z = G929Value(static_cast<unsigned short>(in.u16() % 929));
    }

    checkSumsAndProducts(p, q, x, s);
    checkDivision(p, q);
    checkKnownDivision(q, m, r);
    checkRoots(p);
    checkRootsOfProduct(zeros);
    return 0;
}
