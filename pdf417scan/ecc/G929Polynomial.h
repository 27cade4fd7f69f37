#pragma once

#include "pdf417scan/ecc/G929Value.h"

#include <vector>

namespace pdf417 {

// Polynomials over GF(929) as plain vectors, highest power first: element 0
// is the coefficient of x^(n-1), the last element the constant term. Leading
// zeros are kept (only div trims); sizes follow the rules of each operation,
// not the true degree. Every output is emptied first, so it must not be one
// of the inputs.
namespace G929Polynomial {

// out = p + q, aligned at the constant terms; length max(|p|, |q|).
void add(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out);

// out = p - q, aligned at the constant terms; length max(|p|, |q|).
void sub(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out);

// out = p * q, length |p| + |q| - 1; empty if either is empty.
void mul(const std::vector<G929Value>& p, const std::vector<G929Value>& q,
         std::vector<G929Value>& out);

// Scales every coefficient of p in place.
void mul(std::vector<G929Value>& p, G929Value s);

// out = p * s, coefficient by coefficient.
void mul(const std::vector<G929Value>& p, G929Value s, std::vector<G929Value>& out);

// Long division a = quotient * b - remainder: the remainder comes back
// negated and without leading zeros. False only for a zero divisor; a zero
// dividend gives true with both outputs empty.
bool div(const std::vector<G929Value>& a, const std::vector<G929Value>& b,
         std::vector<G929Value>& quotient, std::vector<G929Value>& remainder);

// Same polynomial once leading zeros are skipped. An invalid coefficient
// makes it unequal to everything, itself included.
bool equal(const std::vector<G929Value>& p, const std::vector<G929Value>& q);

// p(x). Invalid for an empty p and, because 0^0 has no value, for x = 0.
G929Value calc(const std::vector<G929Value>& p, G929Value x);

// Every x in 1..928 with p(x) = 0, increasing. False only for an empty p.
bool getRoots(const std::vector<G929Value>& p, std::vector<G929Value>& roots);

void copy(const std::vector<G929Value>& p, std::vector<G929Value>& out);

} // namespace G929Polynomial
} // namespace pdf417
